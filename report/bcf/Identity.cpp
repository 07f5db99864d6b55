// SPDX-License-Identifier: Apache-2.0
#include "report/bcf/Identity.h"

#include <fmt/format.h>
#include <openssl/evp.h>
#include <array>
#include <charconv>
#include <stdexcept>

namespace norvex::report::bcf {
namespace {

constexpr std::size_t kUuidBytes = 16;
constexpr std::size_t kSha1Bytes = 20;

std::string BytesOf(std::string_view uuid) {
    std::string bytes;
    for (std::size_t at = 0; at + 1 < uuid.size();) {
        if (uuid[at] == '-') {
            ++at;
            continue;
        }
        unsigned int byte = 0;
        std::from_chars(uuid.data() + at, uuid.data() + at + 2, byte, 16);
        bytes += static_cast<char>(byte);
        at += 2;
    }
    return bytes;
}

}  // namespace

std::string NameUuid(std::string_view space, std::string_view name) {
    const std::string message = BytesOf(space).append(name);
    std::array<unsigned char, kSha1Bytes> digest{};
    if (EVP_Digest(message.data(), message.size(), digest.data(), nullptr, EVP_sha1(), nullptr) != 1) {
        throw std::runtime_error("the system's cryptographic library refuses SHA-1, which names the topics");
    }
    digest[6] = static_cast<unsigned char>((digest[6] & 0x0FU) | 0x50U);  // version 5
    digest[8] = static_cast<unsigned char>((digest[8] & 0x3FU) | 0x80U);  // variant of the RFC
    std::string text;
    for (std::size_t index = 0; index < kUuidBytes; ++index) {
        if (index == 4 || index == 6 || index == 8 || index == 10) {
            text += '-';
        }
        text += fmt::format("{:02x}", digest[index]);
    }
    return text;
}

std::string TopicGuid(std::string_view featureCode, std::size_t occurrence) {
    return NameUuid(kNamespace,
                    occurrence == 0 ? std::string(featureCode) : fmt::format("{}#{}", featureCode, occurrence));
}

std::string GroupGuid(std::string_view kind, std::string_view key) {
    return NameUuid(kNamespace, fmt::format("group\n{}\n{}", kind, key));
}

std::string PartGuid(std::string_view topicGuid, std::string_view part) {
    return NameUuid(topicGuid, part);
}

}  // namespace norvex::report::bcf
