#include "desktop/win32/browser_control.h"

#include <exdisp.h>
#include <exdispid.h>
#include <mshtml.h>

#include "desktop/win32/browser_host.h"
#include "platform/win32/com.h"
#include "platform/win32/text.h"

namespace vornelle::win32 {
namespace {

constexpr std::wstring_view kBlank = L"about:blank";

class ComString {
 public:
  explicit ComString(std::wstring_view text)
      : string_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {}
  ~ComString() { SysFreeString(string_); }
  ComString(const ComString&) = delete;
  ComString& operator=(const ComString&) = delete;
  [[nodiscard]] BSTR get() const { return string_; }
  BSTR release() { return std::exchange(string_, nullptr); }

 private:
  BSTR string_;
};

std::wstring stringOf(const VARIANT& value) {
  const VARIANT* inner = &value;
  if (V_VT(inner) == (VT_VARIANT | VT_BYREF)) inner = V_VARIANTREF(inner);
  if (V_VT(inner) == VT_BSTR && V_BSTR(inner)) return {V_BSTR(inner), SysStringLen(V_BSTR(inner))};
  return {};
}

void cancel(const VARIANT& flag) {
  if (V_VT(&flag) == (VT_BOOL | VT_BYREF)) *V_BOOLREF(&flag) = VARIANT_TRUE;
}

// A document takes its text as an array of values.
bool writeDocument(IHTMLDocument2* document, const std::string& html) {
  SAFEARRAY* const array = SafeArrayCreateVector(VT_VARIANT, 0, 1);
  if (!array) return false;
  VARIANT* value = nullptr;
  bool written = false;
  if (SUCCEEDED(SafeArrayAccessData(array, reinterpret_cast<void**>(&value)))) {
    V_VT(value) = VT_BSTR;
    V_BSTR(value) = ComString(widen(html)).release();  // the array's own now
    SafeArrayUnaccessData(array);
    written = SUCCEEDED(document->write(array)) && SUCCEEDED(document->close());
  }
  SafeArrayDestroy(array);
  return written;
}

}  // namespace

// The control's place, and the one to whom it reports what happens in it.
class BrowserControl::Host : public PlainHost, public IDispatch {
 public:
  Host(HWND parent, const RECT& place, const std::string& html,
       std::function<void(const std::string&)> openLink)
      : PlainHost(parent, place), html_(html), openLink_(std::move(openLink)) {}

  bool start();
  void end();
  [[nodiscard]] bool showsText() const { return showsText_; }

  // IUnknown
  STDMETHODIMP QueryInterface(REFIID id, void** object) override {
    return PlainHost::QueryInterface(id, object);
  }
  STDMETHODIMP_(ULONG) AddRef() override { return PlainHost::AddRef(); }
  STDMETHODIMP_(ULONG) Release() override { return PlainHost::Release(); }

  // IDispatch, for the control's events
  STDMETHODIMP GetTypeInfoCount(UINT* count) override {
    *count = 0;
    return S_OK;
  }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  STDMETHODIMP Invoke(DISPID event, REFIID, LCID, WORD, DISPPARAMS* parameters, VARIANT*, EXCEPINFO*,
                      UINT*) override;

 protected:
  IUnknown* interfaceOf(REFIID id) override {
    return id == IID_IDispatch || id == DIID_DWebBrowserEvents2 ? static_cast<IDispatch*>(this) : nullptr;
  }

 private:
  bool activate();
  bool listen();
  void writeText();

  std::string html_;
  std::function<void(const std::string&)> openLink_;
  bool showsText_ = false;
  ComPointer<IOleObject> object_;
  ComPointer<IWebBrowser2> browser_;
  ComPointer<IConnectionPoint> events_;
  DWORD cookie_ = 0;
};

bool BrowserControl::Host::start() {
  object_ = createComObject<IOleObject>(CLSID_WebBrowser, IID_IOleObject);
  if (!object_ || !activate() || !listen()) return false;
  browser_->put_Silent(VARIANT_TRUE);
  const ComString blank(kBlank);
  VARIANT nothing;
  VariantInit(&nothing);
  return SUCCEEDED(browser_->Navigate(blank.get(), &nothing, &nothing, &nothing, &nothing));
}

bool BrowserControl::Host::activate() {
  if (FAILED(object_->SetClientSite(this))) return false;
  if (FAILED(object_->DoVerb(OLEIVERB_INPLACEACTIVATE, nullptr, this, 0, parent_, &place_))) return false;
  if (FAILED(object_->QueryInterface(IID_IWebBrowser2, browser_.receive()))) return false;
  browser_->put_Left(place_.left);
  browser_->put_Top(place_.top);
  browser_->put_Width(place_.right - place_.left);
  browser_->put_Height(place_.bottom - place_.top);
  return true;
}

bool BrowserControl::Host::listen() {
  ComPointer<IConnectionPointContainer> container;
  if (FAILED(browser_->QueryInterface(IID_IConnectionPointContainer, container.receive()))) return false;
  if (FAILED(container->FindConnectionPoint(DIID_DWebBrowserEvents2,
                                            reinterpret_cast<IConnectionPoint**>(events_.receive())))) {
    return false;
  }
  return SUCCEEDED(events_->Advise(static_cast<IDispatch*>(this), &cookie_));
}

void BrowserControl::Host::end() {
  openLink_ = nullptr;
  if (events_ && cookie_) events_->Unadvise(cookie_);
  events_.reset();
  browser_.reset();
  if (object_) {
    object_->Close(OLECLOSE_NOSAVE);
    object_->SetClientSite(nullptr);
  }
  object_.reset();
}

void BrowserControl::Host::writeText() {
  if (showsText_ || !browser_) return;
  ComPointer<IDispatch> dispatch;
  if (FAILED(browser_->get_Document(reinterpret_cast<IDispatch**>(dispatch.receive()))) || !dispatch) return;
  ComPointer<IHTMLDocument2> document;
  if (FAILED(dispatch->QueryInterface(IID_IHTMLDocument2, document.receive()))) return;
  showsText_ = writeDocument(document.get(), html_);
}

// The arguments of an event stand in reverse order.
STDMETHODIMP BrowserControl::Host::Invoke(DISPID event, REFIID, LCID, WORD, DISPPARAMS* parameters, VARIANT*,
                                          EXCEPINFO*, UINT*) {
  const VARIANTARG* const arguments = parameters->rgvarg;
  switch (event) {
    case DISPID_DOCUMENTCOMPLETE:
      writeText();
      return S_OK;
    case DISPID_BEFORENAVIGATE2:  // object, address, flags, frame, form data, headers, cancel
      if (parameters->cArgs == 7 && stringOf(arguments[5]) != kBlank) cancel(arguments[0]);
      return S_OK;
    case DISPID_NEWWINDOW3:  // object, cancel, flags, address of the document, address of the link
      if (parameters->cArgs == 5) {
        cancel(arguments[3]);
        const auto open = openLink_;
        if (open) open(narrow(stringOf(arguments[0])));
      }
      return S_OK;
    case DISPID_NEWWINDOW2:  // object, cancel
      if (parameters->cArgs == 2) cancel(arguments[0]);
      return S_OK;
    default:
      return S_OK;
  }
}

std::unique_ptr<BrowserControl> BrowserControl::create(HWND parent, const RECT& place,
                                                       const std::string& html,
                                                       std::function<void(const std::string&)> openLink) {
  std::unique_ptr<BrowserControl> control(
      new BrowserControl(new Host(parent, place, html, std::move(openLink))));
  if (!control->host_->start()) return nullptr;
  return control;
}

BrowserControl::~BrowserControl() {
  host_->end();
  host_->Release();  // it goes when the control has let go of it, too
}

bool BrowserControl::showsText() const {
  return host_->showsText();
}

}  // namespace vornelle::win32
