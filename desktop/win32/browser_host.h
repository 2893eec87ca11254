// What a control of the component model asks of the window that it lives in: the plain answers of a host that
// gives it a place and nothing more. No menus, no tool bars, no borders.
#pragma once

#include <windows.h>
// After windows.h.
#include <ole2.h>

namespace vornelle::win32 {

class PlainHost : public IOleClientSite, public IOleInPlaceSite, public IOleInPlaceFrame {
 public:
  PlainHost(HWND parent, const RECT& place) : parent_(parent), place_(place) {}
  virtual ~PlainHost() = default;
  PlainHost(const PlainHost&) = delete;
  PlainHost& operator=(const PlainHost&) = delete;

  // IUnknown
  STDMETHODIMP QueryInterface(REFIID id, void** object) override;
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override;

  // IOleClientSite
  STDMETHODIMP SaveObject() override { return E_NOTIMPL; }
  STDMETHODIMP GetMoniker(DWORD, DWORD, IMoniker** moniker) override;
  STDMETHODIMP GetContainer(IOleContainer** container) override;
  STDMETHODIMP ShowObject() override { return S_OK; }
  STDMETHODIMP OnShowWindow(BOOL) override { return S_OK; }
  STDMETHODIMP RequestNewObjectLayout() override { return E_NOTIMPL; }

  // IOleInPlaceSite and IOleInPlaceFrame
  STDMETHODIMP GetWindow(HWND* window) override;
  STDMETHODIMP ContextSensitiveHelp(BOOL) override { return E_NOTIMPL; }

  // IOleInPlaceSite
  STDMETHODIMP CanInPlaceActivate() override { return S_OK; }
  STDMETHODIMP OnInPlaceActivate() override { return S_OK; }
  STDMETHODIMP OnUIActivate() override { return S_OK; }
  STDMETHODIMP GetWindowContext(IOleInPlaceFrame** frame, IOleInPlaceUIWindow** document, RECT* place,
                                RECT* clip, OLEINPLACEFRAMEINFO* info) override;
  STDMETHODIMP Scroll(SIZE) override { return E_NOTIMPL; }
  STDMETHODIMP OnUIDeactivate(BOOL) override { return S_OK; }
  STDMETHODIMP OnInPlaceDeactivate() override { return S_OK; }
  STDMETHODIMP DiscardUndoState() override { return E_NOTIMPL; }
  STDMETHODIMP DeactivateAndUndo() override { return E_NOTIMPL; }
  STDMETHODIMP OnPosRectChange(const RECT*) override { return S_OK; }

  // IOleInPlaceFrame
  STDMETHODIMP GetBorder(RECT*) override { return INPLACE_E_NOTOOLSPACE; }
  STDMETHODIMP RequestBorderSpace(const BORDERWIDTHS*) override { return INPLACE_E_NOTOOLSPACE; }
  STDMETHODIMP SetBorderSpace(const BORDERWIDTHS*) override { return S_OK; }
  STDMETHODIMP SetActiveObject(IOleInPlaceActiveObject*, const OLECHAR*) override { return S_OK; }
  STDMETHODIMP InsertMenus(HMENU, OLEMENUGROUPWIDTHS*) override { return E_NOTIMPL; }
  STDMETHODIMP SetMenu(HMENU, HOLEMENU, HWND) override { return S_OK; }
  STDMETHODIMP RemoveMenus(HMENU) override { return S_OK; }
  STDMETHODIMP SetStatusText(const OLECHAR*) override { return S_OK; }
  STDMETHODIMP EnableModeless(BOOL) override { return S_OK; }
  STDMETHODIMP TranslateAccelerator(MSG*, WORD) override { return S_FALSE; }

 protected:
  // Further interfaces of the actual host; null for one that it does not have. The caller counts the
  // reference.
  virtual IUnknown* interfaceOf(REFIID) { return nullptr; }

  HWND parent_;
  RECT place_;

 private:
  ULONG references_ = 1;
};

}  // namespace vornelle::win32
