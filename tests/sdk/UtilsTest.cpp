#include <gtest/gtest.h>

#include <cstring>
#include <regex>
#include <string>

#include "sdk/Device.h"

TEST(Utils, VersionTextEndsWithTheVersionNumber) {
    char text[64];
    GetSDKVersion(text);
    EXPECT_TRUE(std::regex_match(std::string(text), std::regex("[A-Z][a-z]{2} [ 0-9]\\d \\d{4} \\d\\d:\\d\\d:\\d\\d_2\\.1\\.2")))
        << text;
    EXPECT_EQ(Kovo_SDKInit(), 0);
}

// The upper-case text itself is on the wire in the transparent-transfer command row.
TEST(Utils, HexStringRejectsNull) {
    unsigned char bytes[] = {0x00, 0xAB, 0x7f};
    char out[7];
    char untouched[2] = {'x', 'y'};
    EXPECT_EQ(GetHexString(bytes, 0, untouched), 0);
    EXPECT_EQ(untouched[0], 'x');
    EXPECT_EQ(GetHexString(nullptr, 1, out), -1);
    EXPECT_EQ(GetHexString(bytes, 1, nullptr), -1);
}

TEST(Utils, UuidTextIsLowerCaseInStorageOrder) {
    GUID id;
    for (int i = 0; i < 16; ++i) id.uu[i] = static_cast<unsigned char>(0xA0 + i);
    char out[37];
    EXPECT_EQ(MyUuidToString(&id, out), 1);
    EXPECT_STREQ(out, "a0a1a2a3-a4a5-a6a7-a8a9-aaabacadaeaf");
    GUID a, b;
    EXPECT_NE(memcmp(a.uu, b.uu, 16), 0);
}
