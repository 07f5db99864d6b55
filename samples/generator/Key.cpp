// SPDX-License-Identifier: Apache-2.0
#include "samples/generator/Key.h"

namespace norvex::samples {
namespace {

// The finalizer of SplitMix64 (Steele, Lea, Flood 2014): every input bit reaches every output bit.
std::uint64_t Mix(std::uint64_t value) {
    value += 0x9E3779B97F4A7C15U;
    value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9U;
    value = (value ^ (value >> 27)) * 0x94D049BB133111EBU;
    return value ^ (value >> 31);
}

// FNV-1a, 64 bits.
std::uint64_t HashText(std::string_view text) {
    std::uint64_t hash = 0xCBF29CE484222325U;
    for (const char character : text) {
        hash = (hash ^ static_cast<unsigned char>(character)) * 0x100000001B3U;
    }
    return hash;
}

}  // namespace

Key Key::Root(std::uint64_t seed) {
    Key key;
    key.high_ = Mix(seed);
    key.low_ = Mix(~seed);
    return key;
}

Key Key::Child(std::string_view name) const {
    return Child(name, 0);
}

Key Key::Child(std::string_view name, std::uint64_t number) const {
    const std::uint64_t hash = Mix(HashText(name) + Mix(number));
    Key key;
    // Two different mixtures, so that the halves do not collide together.
    key.high_ = Mix(high_ ^ hash);
    key.low_ = Mix(low_ + Mix(hash ^ high_));
    return key;
}

Key Key::With(const Key& other) const {
    Key key;
    key.high_ = Mix(high_ ^ Mix(other.high_ + 1));
    key.low_ = Mix(low_ + Mix(other.low_ ^ high_));
    return key;
}

std::string Key::GlobalId() const {
    // The alphabet that the exchange format fixes for compressed GUIDs; 128 bits make 2 + 21 * 6.
    static constexpr std::string_view kAlphabet = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_$";
    std::string text(22, '0');
    std::uint64_t high = high_;
    std::uint64_t low = low_;
    for (std::size_t position = text.size(); position-- > 0;) {
        text[position] = kAlphabet[low & 63U];
        low = (low >> 6) | (high << 58);
        high >>= 6;
    }
    return text;
}

}  // namespace norvex::samples
