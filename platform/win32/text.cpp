#include "platform/win32/text.h"

#include <windows.h>

#include "base/characters.h"
#include "base/unicode.h"

namespace vornelle::win32 {
namespace {

constexpr UINT kCodePage = 1252;

std::string convert(std::wstring_view text, bool& complete) {
  complete = true;
  if (text.empty()) return {};
  const int length = static_cast<int>(text.size());
  BOOL replaced = FALSE;
  const int size =
      WideCharToMultiByte(kCodePage, WC_NO_BEST_FIT_CHARS, text.data(), length, nullptr, 0, "?", &replaced);
  std::string result(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(kCodePage, WC_NO_BEST_FIT_CHARS, text.data(), length, result.data(), size, "?",
                      &replaced);
  complete = !replaced;
  return result;
}

}  // namespace

std::wstring shownText(std::string_view text) {
  std::wstring shown;
  shown.reserve(text.size());
  while (!text.empty()) {
    const TextCharacter next = textCharacter(text);
    text.remove_prefix(next.length);
    appendWide(shown, isDirectionMark(next.code) ? U'?' : next.code);
  }
  return shown;
}

std::u32string charactersOf(std::wstring_view text) {
  const std::string_view bytes(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t));
  return fromUtf16(bytes, true);
}

void appendWide(std::wstring& text, char32_t code) {
  if (code < 0x10000) {
    text.push_back(static_cast<wchar_t>(code));
  } else {
    text.push_back(static_cast<wchar_t>(0xD800 + ((code - 0x10000) >> 10)));
    text.push_back(static_cast<wchar_t>(0xDC00 + ((code - 0x10000) & 0x3FF)));
  }
}

std::string typedText(std::wstring_view text) {
  return toText(charactersOf(text));
}

std::wstring widen(std::string_view text) {
  if (text.empty()) return {};
  const int length = static_cast<int>(text.size());
  const int size = MultiByteToWideChar(kCodePage, 0, text.data(), length, nullptr, 0);
  std::wstring result(static_cast<std::size_t>(size), L'\0');
  MultiByteToWideChar(kCodePage, 0, text.data(), length, result.data(), size);
  return result;
}

std::string narrow(std::wstring_view text) {
  bool complete;
  return convert(text, complete);
}

bool fitsCodePage(std::wstring_view text) {
  bool complete;
  static_cast<void>(convert(text, complete));
  return complete;
}

std::string narrowPath(const std::wstring& path) {
  if (fitsCodePage(path)) return narrow(path);
  const DWORD size = GetShortPathNameW(path.c_str(), nullptr, 0);
  if (size == 0) return narrow(path);
  std::wstring shortPath(size, L'\0');
  shortPath.resize(GetShortPathNameW(path.c_str(), shortPath.data(), size));
  return narrow(shortPath);
}

}  // namespace vornelle::win32
