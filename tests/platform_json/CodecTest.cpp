#include <gtest/gtest.h>

#include "platform/json/Base64.h"
#include "platform/json/Utf8Check.h"
#include "tests/platform_json/JsonTestData.h"

namespace {

namespace b64 = zo::base64;

std::vector<uint8_t> Bytes(std::string_view s) { return {s.begin(), s.end()}; }

TEST(Base64Test, StandardVectorsBothWays) {
  const std::pair<const char*, const char*> vectors[] = {
      {"", ""},
      {"f", "Zg=="},
      {"fo", "Zm8="},
      {"foo", "Zm9v"},
      {"foob", "Zm9vYg=="},
      {"fooba", "Zm9vYmE="},
      {"foobar", "Zm9vYmFy"},
  };
  for (const auto& [plain, encoded] : vectors) {
    EXPECT_EQ(b64::Encode(Bytes(plain)), encoded);
    EXPECT_EQ(b64::Decode(encoded), Bytes(plain)) << encoded;
  }
  const auto all = zo::testing::PatternBytes(1000);
  EXPECT_EQ(b64::Decode(b64::Encode(all)), all);
  EXPECT_EQ(b64::Encode(Bytes("\xff\xfe")), "//4=");
}

TEST(Base64Test, LineBreaksAndMissingPaddingAreAccepted) {
  EXPECT_EQ(b64::Decode("Zm9v\r\nYmE="), Bytes("fooba"));
  EXPECT_EQ(b64::Decode("Zm9vYmE"), Bytes("fooba"));
  EXPECT_EQ(b64::Decode("Zg"), Bytes("f"));
}

TEST(Base64Test, GarbageIsRejected) {
  for (const char* bad : {"Zm9v!", "Z", "Zm9vY", "Zg=", "Zg===", "=Zg=", "Zg==Zg==", "Zm-v"}) {
    EXPECT_FALSE(b64::Decode(bad).has_value()) << bad;
  }
}

TEST(Utf8CheckTest, OnlyStrictUtf8IsValid) {
  EXPECT_TRUE(zo::utf8::IsValid("ação ✓ 😀"));
  for (const char* bad : {"\xE3o", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE2\x9C"}) {
    EXPECT_FALSE(zo::utf8::IsValid(bad)) << bad;
  }
  EXPECT_EQ(zo::utf8::Printable("S\xE3o ✓"), "S?o ???");
  EXPECT_EQ(zo::utf8::Printable("São"), "São");
}

}  // namespace
