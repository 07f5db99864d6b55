// SPDX-License-Identifier: Apache-2.0
#include "report/bcf/Png.h"

#include <png.h>
#include <new>
#include <vector>

namespace norvex::report::bcf {
namespace {

// Measured on plans: level 3 is as fast as 1 and a third smaller; 6 takes three times as long.
constexpr int kCompressionLevel = 3;
constexpr std::size_t kMaxPalette = 256;
constexpr std::uint32_t kNoIndex = 0xFFFFFFFFU;

std::uint32_t FiveBits(std::uint32_t pixel) {
    return ((pixel >> 9U) & 0x7C00U) | ((pixel >> 6U) & 0x3E0U) | ((pixel >> 3U) & 0x1FU);
}

png_byte EightBits(std::uint32_t five) {
    return static_cast<png_byte>((five << 3U) | (five >> 2U));
}

png_color ColourOf(std::uint32_t key) {
    return {EightBits(key >> 10U), EightBits((key >> 5U) & 0x1FU), EightBits(key & 0x1FU)};
}

struct Encoded {
    bool usesPalette = true;
    std::vector<png_color> palette;
    std::vector<png_byte> bytes;  // one for each pixel with a palette, else three
};

Encoded FullColour(const Pixels& pixels) {
    Encoded picture{.usesPalette = false, .palette = {}, .bytes = {}};
    picture.bytes.reserve(pixels.width * pixels.height * 3);
    for (std::size_t row = 0; row < pixels.height; ++row) {
        for (std::size_t column = 0; column < pixels.width; ++column) {
            const png_color colour = ColourOf(FiveBits(pixels.first[row * pixels.stride + column]));
            picture.bytes.insert(picture.bytes.end(), {colour.red, colour.green, colour.blue});
        }
    }
    return picture;
}

// Colours in the order in which they are met.
Encoded Indexed(const Pixels& pixels) {
    Encoded picture;
    picture.bytes.resize(pixels.width * pixels.height);
    std::vector<std::uint32_t> indices(std::size_t{1} << 15U, kNoIndex);
    png_byte* out = picture.bytes.data();
    // Most pixels are like the one before.
    std::uint32_t before = ~pixels.first[0];
    png_byte index = 0;
    for (std::size_t row = 0; row < pixels.height; ++row) {
        const std::uint32_t* in = pixels.first + row * pixels.stride;
        for (std::size_t column = 0; column < pixels.width; ++column) {
            if (in[column] != before) {
                before = in[column];
                const std::uint32_t key = FiveBits(before);
                if (indices[key] == kNoIndex) {
                    if (picture.palette.size() == kMaxPalette) {
                        return FullColour(pixels);
                    }
                    indices[key] = static_cast<std::uint32_t>(picture.palette.size());
                    picture.palette.push_back(ColourOf(key));
                }
                index = static_cast<png_byte>(indices[key]);
            }
            *out++ = index;
        }
    }
    return picture;
}

// The library's own way of failing is a jump past destructors; the only thing that can fail here is memory.
[[noreturn]] void Fail(png_structp /*png*/, png_const_charp /*message*/) {
    throw std::bad_alloc();
}

void Append(png_structp png, png_bytep bytes, std::size_t size) {
    static_cast<std::string*>(png_get_io_ptr(png))->append(reinterpret_cast<const char*>(bytes), size);
}

class Writer {
  public:
    Writer()
        : m_png(png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, Fail, nullptr)),
          m_info(m_png == nullptr ? nullptr : png_create_info_struct(m_png)) {
        if (m_info == nullptr) {
            png_destroy_write_struct(&m_png, &m_info);
            throw std::bad_alloc();
        }
    }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;
    ~Writer() { png_destroy_write_struct(&m_png, &m_info); }

    std::string Write(const Pixels& pixels, const Encoded& picture) {
        std::string text;
        png_set_write_fn(m_png, &text, Append, nullptr);
        png_set_IHDR(m_png, m_info, static_cast<png_uint_32>(pixels.width), static_cast<png_uint_32>(pixels.height), 8,
                     picture.usesPalette ? PNG_COLOR_TYPE_PALETTE : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                     PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        if (picture.usesPalette) {
            png_set_PLTE(m_png, m_info, picture.palette.data(), static_cast<int>(picture.palette.size()));
        }
        png_set_filter(m_png, PNG_FILTER_TYPE_BASE, picture.usesPalette ? PNG_FILTER_NONE : PNG_FILTER_UP);
        png_set_compression_level(m_png, kCompressionLevel);
        png_write_info(m_png, m_info);
        const std::size_t rowBytes = picture.bytes.size() / pixels.height;
        for (std::size_t row = 0; row < pixels.height; ++row) {
            png_write_row(m_png, picture.bytes.data() + row * rowBytes);
        }
        png_write_end(m_png, m_info);
        return text;
    }

  private:
    png_structp m_png;
    png_infop m_info;
};

}  // namespace

std::string EncodePng(const Pixels& pixels) {
    const Encoded picture = Indexed(pixels);
    return Writer().Write(pixels, picture);
}

}  // namespace norvex::report::bcf
