// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/trust/Md5.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using norvex::trust::Md5;
using norvex::trust::ToHex;

std::string DigestOf(std::string_view message) {
    Md5 md5;
    md5.Update(message);
    return ToHex(md5.Finish());
}

// Byte i is i * 7 modulo 251.
std::string Patterned(std::size_t length) {
    std::string message(length, '\0');
    for (std::size_t index = 0; index < length; ++index) {
        message[index] = static_cast<char>(index * 7 % 251);
    }
    return message;
}

}  // namespace

TEST(Md5, GivesTheDigestsOfTheStandardsTestSuite) {
    const std::vector<std::pair<std::string, std::string>> suite = {
        {"", "d41d8cd98f00b204e9800998ecf8427e"},
        {"a", "0cc175b9c0f1b6a831c399e269772661"},
        {"abc", "900150983cd24fb0d6963f7d28e17f72"},
        {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
        {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
        {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789", "d174ab98d277d9f5a5611c2c9f419d9f"},
        {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
         "57edf4a22be3c955ac49da2e2107b67a"}};
    for (const auto& [message, digest] : suite) {
        EXPECT_EQ(DigestOf(message), digest) << message;
    }
}

TEST(Md5, PadsEveryLengthAroundABlockRightly) {
    // Computed with another implementation (Python's hashlib).
    const std::vector<std::pair<std::size_t, std::string>> digests = {
        {1, "93b885adfe0da089cdf634904fd59f71"},   {55, "a3c81137436036ad8b477da25301a150"},
        {56, "64c7901679c62fee89dae9fdc90f6cdc"},  {57, "de3640741df50a25ebfbf7bfad1df856"},
        {63, "ca2a2c51613f550d77bfa700fa71b2f3"},  {64, "c1e181645d10867b9810b9ab454f39fd"},
        {65, "8ce7034cd47c2e5766f920d9f6cd25b2"},  {119, "bbee0fa54927be9cec551823419525d6"},
        {120, "bec94d18929378fdb98c26a97f1dba72"}, {127, "5fb11d06c9273fdf705c65afd0a39694"},
        {128, "3eba58a155f6aa0ef467626f0e78d53b"}, {129, "a80321e4a33967fbffb1b55d8a9382a3"},
        {300, "ca04fe70251ec7dc8f7ae322db8d1c51"}};
    for (const auto& [length, digest] : digests) {
        EXPECT_EQ(DigestOf(Patterned(length)), digest) << length;
    }
}

TEST(Md5, AgreesWithAnotherImplementationForLengths0To300) {
    std::string allDigests;
    for (std::size_t length = 0; length <= 300; ++length) {
        allDigests += DigestOf(Patterned(length));
    }
    // Python: md5 of the 301 hexadecimal digests in a row.
    EXPECT_EQ(DigestOf(allDigests), "95e3ec3d0b65f6c3b99b65302aa9d615");
}

TEST(Md5, DoesNotDependOnHowTheMessageIsParted) {
    const std::string message = Patterned(300);
    const std::string whole = DigestOf(message);
    for (std::size_t cut = 0; cut <= message.size(); ++cut) {
        Md5 md5;
        md5.Update(std::string_view(message).substr(0, cut));
        md5.Update(std::string_view(message).substr(cut));
        ASSERT_EQ(ToHex(md5.Finish()), whole) << cut;
    }
    std::mt19937 random(1);
    for (int round = 0; round < 1000; ++round) {
        Md5 md5;
        std::string_view rest = message;
        while (!rest.empty()) {
            const std::size_t part = std::min<std::size_t>(random() % 150, rest.size());
            md5.Update(rest.substr(0, part));
            rest.remove_prefix(part);
        }
        ASSERT_EQ(ToHex(md5.Finish()), whole);
    }
}

TEST(Md5, StandsForTheEmptyMessageAgainAfterFinish) {
    Md5 md5;
    md5.Update("something");
    md5.Finish();
    EXPECT_EQ(ToHex(md5.Finish()), "d41d8cd98f00b204e9800998ecf8427e");
    md5.Update("abc");
    EXPECT_EQ(ToHex(md5.Finish()), "900150983cd24fb0d6963f7d28e17f72");
}

TEST(Md5, CountsMessagesOf4GigabitsAndMore) {
    // 2^29 and 2^29 + 1 zero bytes; digests from md5sum of the GNU core utilities.
    const std::string part(1 << 20, '\0');
    Md5 exact;
    for (int count = 0; count < 512; ++count) {
        exact.Update(part);
    }
    Md5 oneMore = exact;
    oneMore.Update(std::string_view("\0", 1));
    EXPECT_EQ(ToHex(exact.Finish()), "aa559b4e3523a6c931f08f4df52d58f2");
    EXPECT_EQ(ToHex(oneMore.Finish()), "ea3b62c6b93cb3625a1fd76777985f5a");
}
