#include "desktop/win32/fonts.h"

namespace vornelle::win32 {

HFONT makeMessageFont(UINT dpi) {
  NONCLIENTMETRICSW metrics{};
  metrics.cbSize = sizeof metrics;
  SystemParametersInfoForDpi(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0, dpi);
  return CreateFontIndirectW(&metrics.lfMessageFont);
}

SIZE textSize(HWND window, HFONT font, const wchar_t* text) {
  const HDC device = GetDC(window);
  const HGDIOBJ before = SelectObject(device, font);
  SIZE size{};
  GetTextExtentPoint32W(device, text, lstrlenW(text), &size);
  SelectObject(device, before);
  ReleaseDC(window, device);
  return size;
}

}  // namespace vornelle::win32
