#include "base/url_decode.h"

#include <string_view>

#include "base/text.h"

namespace vornelle {
namespace {

struct Replacement {
  std::string_view find;
  std::string_view with;
};

// The order is part of the table: "+" becomes a blank before "%2B" becomes "+", and "%25" comes before the
// rows that can find the percent sign which it leaves behind.
constexpr Replacement kReplacements[] = {
    {"+", " "},   {"%0D%0A", kCrLf}, {"%21", "!"},    {"%22", "\""}, {"%A7", "\xA7"}, {"%24", "$"},
    {"%25", "%"}, {"%26", "&"},      {"%2F", "/"},    {"%28", "("},  {"%29", ")"},    {"%3D", "="},
    {"%3F", "?"}, {"%B2", "\xB2"},   {"%B3", "\xB3"}, {"%7B", "{"},  {"%5B", "["},    {"%5D", "]"},
    {"%7D", "}"}, {"%5C", "\\"},     {"%DF", "\xDF"}, {"%23", "#"},  {"%27", "'"},    {"%3A", ":"},
    {"%2C", ","}, {"%3B", ";"},      {"%60", "`"},    {"%7E", "~"},  {"%2B", "+"},    {"%B4", "\xB4"},
};

}  // namespace

std::string urlDecode(std::string text) {
  for (const Replacement& row : kReplacements) {
    if (text.find(row.find) != std::string::npos) text = replaceAll(text, row.find, row.with);
  }
  return text;
}

}  // namespace vornelle
