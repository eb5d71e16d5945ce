// Fuzzing of the UTF-8 conversions. The first two input bytes give a buffer
// size; the rest is read as UTF-8 text, as 16-bit units and as 32-bit values.
// Every output buffer is a heap block of exactly the size passed, so any
// write past it is caught. Checked: the decoders agree with their length
// function and cut cleanly at every size; any 16-bit text and any 32-bit text
// below 0x7FFFFFFF survives encoding and decoding; the filler form decodes
// back to the spaces; Q_UTFToUnicode accepts exactly the strict one- to
// three-byte forms; Q_UnicodeToUTF is all or nothing.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "twcommon/text.h"

namespace {

using Wide = std::basic_string<tw_wchar_t>;
using Wide32 = std::basic_string<tw_wchar32_t>;

void check(bool ok) {
    if (!ok) abort();
}

template <typename Char>
std::unique_ptr<Char[]> exact_buffer(size_t size) {
    return std::unique_ptr<Char[]>(new Char[size]);
}

// Decodes with a buffer of exactly size units; checks the cut and terminator.
Wide decode(const std::string &text, size_t size) {
    auto buf = exact_buffer<tw_wchar_t>(size);
    size_t n = utf8_mbstowcs(buf.get(), text.c_str(), size);
    check(n <= size);
    if (n < size) check(buf[n] == 0);
    return Wide(buf.get(), n);
}

std::string encode(const Wide &text, size_t size) {
    auto buf = exact_buffer<char>(size);
    size_t n = utf8_wcstombs(buf.get(), text.c_str(), size);
    check(n <= size);
    if (n < size) check(buf[n] == 0);
    return std::string(buf.get(), n);
}

bool strictly_valid(const std::string &text, size_t &units) {
    units = 0;
    auto cont = [&](size_t i) { return i < text.size() && (uint8_t(text[i]) & 0xC0) == 0x80; };
    for (size_t i = 0; i < text.size(); ++units) {
        uint8_t b = uint8_t(text[i]);
        if (b < 0x80) i += 1;
        else if (b >= 0xC0 && b < 0xE0 && cont(i + 1)) i += 2;
        else if (b >= 0xE0 && b < 0xF0 && cont(i + 1) && cont(i + 2)) i += 3;
        else return false;
    }
    return true;
}

void check_decoders(const std::string &text, size_t size) {
    size_t length = utf8_mbstowcs_len(text.c_str());
    Wide full = decode(text, length + 1);
    check(full.size() == length);
    check(decode(text, length) == full);  // exact fit, no terminator
    Wide cut = decode(text, size);
    check(full.compare(0, cut.size(), cut) == 0);
    // A cut leaves out at most one character, two units for a pair.
    check(cut.size() == std::min(size, length) || (cut.size() + 1 == size && size < length));

    // The 32-bit form holds the same characters, unsplit.
    auto buf32 = exact_buffer<tw_wchar32_t>(length + 1);
    size_t n32 = utf8_mbstowcs32(buf32.get(), text.c_str(), length + 1);
    Wide again;
    for (size_t i = 0; i < n32; ++i) {
        uint32_t v = buf32[i];
        if (v >= 0x10000 && v <= 0x10FFFF) {
            again += tw_wchar_t(0xD800 + ((v - 0x10000) >> 10));
            again += tw_wchar_t(0xDC00 + ((v - 0x10000) & 0x3FF));
        } else {
            again += tw_wchar_t(v > 0x10FFFF ? 0xFFFD : v);
        }
    }
    check(again == full);

    // Strict decoding accepts exactly the one- to three-byte forms.
    size_t units;
    bool valid = strictly_valid(text, units);
    auto strict = exact_buffer<tw_wchar_t>(size);
    int result = Q_UTFToUnicode(strict.get(), text.c_str(), unsigned(size));
    if (valid && units < size) {
        check(result == 0);
        check(std::memcmp(strict.get(), full.data(), units * sizeof(tw_wchar_t)) == 0);
    } else {
        check(result == 1);
        if (valid && size > 0) check(strict[0] == 0);
    }
}

void check_wide_round_trip(const Wide &text, size_t size) {
    size_t length = utf8_wcstombs_len(text.c_str());
    std::string utf8 = encode(text, length + 1);
    check(utf8.size() == length);
    check(decode(utf8, utf8_mbstowcs_len(utf8.c_str()) + 1) == text);
    std::string cut = encode(text, size);
    check(utf8.compare(0, cut.size(), cut) == 0);

    // The filler form decodes back to the same text, spaces included.
    char *filled = utf8_char_to_utf8(utf8.c_str());
    check(filled && !std::strchr(filled, ' '));
    check(decode(filled, utf8_mbstowcs_len(filled) + 1) == text);
    std::free(filled);
    if (size > 0) {
        auto buf = exact_buffer<char>(size);
        size_t n = utf8_wcstombs_ex(buf.get(), text.c_str(), size);
        check(n < size && buf[n] == 0);
    }

    // Q_UnicodeToUTF: units one by one, one to three bytes, all or nothing.
    size_t needed = 0;
    for (tw_wchar_t c : text) needed += uint16_t(c) < 0x80 ? 1 : uint16_t(c) < 0x800 ? 2 : 3;
    auto buf = exact_buffer<char>(size);
    int result = Q_UnicodeToUTF(buf.get(), text.c_str(), unsigned(size));
    if (size == 0) return;
    if (needed < size) {
        check(result == 0 && std::strlen(buf.get()) == needed);
    } else {
        check(result == 1 && buf[0] == 0);
    }
}

void check_wide32_round_trip(const Wide32 &text, size_t size) {
    size_t length = utf8_wcstombs32_len(text.c_str());
    auto utf8 = exact_buffer<char>(length + 1);
    check(utf8_wcstombs32(utf8.get(), text.c_str(), length + 1) == length);
    auto back = exact_buffer<tw_wchar32_t>(text.size() + 1);
    check(utf8_mbstowcs32(back.get(), utf8.get(), text.size() + 1) == text.size());
    check(Wide32(back.get()) == text);
    auto cut = exact_buffer<char>(size);
    size_t n = utf8_wcstombs32(cut.get(), text.c_str(), size);
    check(n <= size && std::memcmp(cut.get(), utf8.get(), n) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 2) return 0;
    size_t buffer_size = size_t(data[0] | (data[1] << 8)) % 512;
    data += 2;
    size -= 2;

    std::string text(reinterpret_cast<const char *>(data), size);
    check_decoders(text.c_str(), buffer_size);

    Wide wide;
    for (size_t i = 0; i + 1 < size; i += 2) {
        tw_wchar_t unit = tw_wchar_t(data[i] | (data[i + 1] << 8));
        if (unit == 0) break;
        wide += unit;
    }
    check_wide_round_trip(wide, buffer_size);

    Wide32 wide32;
    for (size_t i = 0; i + 3 < size; i += 4) {
        uint32_t value = (uint32_t(data[i]) | uint32_t(data[i + 1]) << 8 | uint32_t(data[i + 2]) << 16 |
                          uint32_t(data[i + 3]) << 24) % 0x7FFFFFFF;
        if (value == 0) break;
        wide32 += tw_wchar32_t(value);
    }
    check_wide32_round_trip(wide32, buffer_size);

    // The single-byte name encodings round-trip every byte.
    std::string name = text.c_str();
    auto encoded = exact_buffer<char>(name.size() * 2 + 1);
    ucs1_to_utf8(name.c_str(), encoded.get());
    auto decoded = exact_buffer<char>(name.size() + 1);
    check(utf8_to_ucs1(encoded.get(), decoded.get()) == name.size() && name == decoded.get());
    return 0;
}
