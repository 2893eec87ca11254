#include "desktop/win32/browser_host.h"

namespace vornelle::win32 {

STDMETHODIMP PlainHost::QueryInterface(REFIID id, void** object) {
  IUnknown* found = nullptr;
  if (id == IID_IUnknown || id == IID_IOleClientSite) {
    found = static_cast<IOleClientSite*>(this);
  } else if (id == IID_IOleWindow || id == IID_IOleInPlaceSite) {
    found = static_cast<IOleInPlaceSite*>(this);
  } else if (id == IID_IOleInPlaceUIWindow || id == IID_IOleInPlaceFrame) {
    found = static_cast<IOleInPlaceFrame*>(this);
  } else {
    found = interfaceOf(id);
  }
  *object = found;
  if (!found) return E_NOINTERFACE;
  AddRef();
  return S_OK;
}

STDMETHODIMP_(ULONG) PlainHost::Release() {
  const ULONG left = --references_;
  if (left == 0) delete this;
  return left;
}

STDMETHODIMP PlainHost::GetMoniker(DWORD, DWORD, IMoniker** moniker) {
  *moniker = nullptr;
  return E_NOTIMPL;
}

STDMETHODIMP PlainHost::GetContainer(IOleContainer** container) {
  *container = nullptr;
  return E_NOINTERFACE;
}

STDMETHODIMP PlainHost::GetWindow(HWND* window) {
  *window = parent_;
  return S_OK;
}

STDMETHODIMP PlainHost::GetWindowContext(IOleInPlaceFrame** frame, IOleInPlaceUIWindow** document,
                                         RECT* place, RECT* clip, OLEINPLACEFRAMEINFO* info) {
  AddRef();
  *frame = this;
  *document = nullptr;
  *place = place_;
  *clip = place_;
  info->fMDIApp = FALSE;
  info->hwndFrame = parent_;
  info->haccel = nullptr;
  info->cAccelEntries = 0;
  return S_OK;
}

}  // namespace vornelle::win32
