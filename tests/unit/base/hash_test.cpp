#include "base/hash.h"

#include <gtest/gtest.h>

namespace vornelle {
namespace {

using namespace std::string_view_literals;

TEST(Hash, IsThePublishedOne) {
  EXPECT_EQ(fnv1a(""sv), 0xcbf29ce484222325u);
  EXPECT_EQ(fnv1a("a"sv), 0xaf63dc4c8601ec8cu);
  EXPECT_EQ(fnv1a("foobar"sv), 0x85944171f73967e8u);
}

TEST(Hash, ACharacterCountsWithoutASign) {
  EXPECT_EQ(fnv1a("\xE9"sv), fnv1a(L"\x00E9"sv));
}

TEST(Hash, WideCharactersAreOneUnitEach) {
  EXPECT_EQ(fnv1a(L"foobar"sv), fnv1a("foobar"sv));
  EXPECT_NE(fnv1a(L"\x0141"sv), fnv1a(L"A"sv));
}

TEST(Hash, AFormCountsInPlaceOfTheCharacter) {
  EXPECT_EQ(fnv1a("FooBar"sv, [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }),
            fnv1a("foobar"sv));
}

}  // namespace
}  // namespace vornelle
