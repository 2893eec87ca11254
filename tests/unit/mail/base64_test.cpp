#include "mail/base64.h"

#include <gtest/gtest.h>

namespace vornelle {
namespace {

TEST(Base64, EncodesTheExamplesOfTheStandard) {
  EXPECT_EQ("", base64Encode(""));
  EXPECT_EQ("Zg==", base64Encode("f"));
  EXPECT_EQ("Zm8=", base64Encode("fo"));
  EXPECT_EQ("Zm9v", base64Encode("foo"));
  EXPECT_EQ("Zm9vYg==", base64Encode("foob"));
  EXPECT_EQ("Zm9vYmE=", base64Encode("fooba"));
  EXPECT_EQ("Zm9vYmFy", base64Encode("foobar"));
  EXPECT_EQ("+//gAA==", base64Encode(std::string("\xFB\xFF\xE0\0", 4)));
}

TEST(Base64, DecodesWhatItEncoded) {
  std::string all;
  for (int i = 0; i < 256; ++i) {
    all.push_back(static_cast<char>(i));
    EXPECT_EQ(all, base64DecodeBody(base64Encode(all)));
    EXPECT_EQ(all, base64DecodeStrict(base64Encode(all)));
  }
}

TEST(Base64, ABodySkipsWhatIsNotOfTheAlphabet) {
  EXPECT_EQ("foobar", base64DecodeBody(" Zm9v\r\n*Ym-Fy\r\n"));
}

TEST(Base64, ABodyGoesOnAfterPadding) {
  EXPECT_EQ("ffoo", base64DecodeBody("Zg==\r\nZm9v\r\n"));
}

TEST(Base64, ABodyThatIsCutGivesItsWholeBytes) {
  EXPECT_EQ("fo", base64DecodeBody("Zm9"));
  EXPECT_EQ("f", base64DecodeBody("Zm"));
  EXPECT_EQ("", base64DecodeBody("Z"));
}

TEST(Base64, AWordWithForeignCharactersIsBroken) {
  EXPECT_EQ(std::nullopt, base64DecodeStrict("Zm 9v"));
  EXPECT_EQ(std::nullopt, base64DecodeStrict("Zm9v=Zm9v"));
}

TEST(Base64, AWordWithoutPaddingIsRead) {
  EXPECT_EQ("f", base64DecodeStrict("Zg"));
  EXPECT_EQ("fo", base64DecodeStrict("Zm8"));
  EXPECT_EQ(std::nullopt, base64DecodeStrict("Z"));
}

}  // namespace
}  // namespace vornelle
