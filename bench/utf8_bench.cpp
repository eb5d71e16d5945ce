// UTF-8 to UTF-16 and back against ICU's converters, on texts of a few KB:
// ASCII, Latin-1 letters, CJK and emoji (surrogate pairs). Both sides work on
// terminated strings.
#include <benchmark/benchmark.h>
#include <unicode/ustring.h>

#include <string>
#include <vector>

#include "twcommon/text.h"

namespace {

std::string repeated(const std::string &piece) {
    std::string text;
    while (text.size() < 4096) text += piece;
    return text;
}

const std::string &utf8_text(int kind) {
    static const std::string texts[] = {
        repeated("The quick brown fox jumps over the lazy dog; backup of /var/opt/data done. "),
        repeated("Gr\xC3\xB6\xC3\x9F" "e \xC3\xBC" "ber Stra\xC3\x9F" "e, caf\xC3\xA9 na\xC3\xAF" "ve r\xC3\xA9sum\xC3\xA9 "),
        repeated("\xE5\x82\x99\xE4\xBB\xBD\xE5\xAE\x8C\xE6\x88\x90\xE3\x81\x97\xE3\x81\xBE\xE3\x81\x97\xE3\x81\x9F"
                 "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E\xE3\x83\x86\xE3\x82\xAD\xE3\x82\xB9\xE3\x83\x88"),
        repeated("\xF0\x9F\x98\x80\xF0\x9F\x8E\x89\xF0\x9F\x9A\x80\xF0\x9F\x91\x8D\xF0\x9F\x92\xBE"),
    };
    return texts[kind];
}

std::u16string wide_text(int kind) {
    const std::string &utf8 = utf8_text(kind);
    std::u16string out(utf8.size() + 1, u'\0');
    out.resize(utf8_mbstowcs(reinterpret_cast<tw_wchar_t *>(&out[0]), utf8.c_str(), out.size()));
    return out;
}

void label(benchmark::State &state, size_t bytes) {
    static const char *names[] = {"ascii", "latin1", "cjk", "emoji"};
    state.SetLabel(names[state.range(0)]);
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(bytes));
}

void BM_FromUTF8_twcommon(benchmark::State &state) {
    const std::string &src = utf8_text(int(state.range(0)));
    std::vector<tw_wchar_t> dst(src.size() + 1);
    for (auto _ : state) {
        benchmark::DoNotOptimize(utf8_mbstowcs(dst.data(), src.c_str(), dst.size()));
        benchmark::ClobberMemory();
    }
    label(state, src.size());
}

void BM_FromUTF8_ICU(benchmark::State &state) {
    const std::string &src = utf8_text(int(state.range(0)));
    std::vector<UChar> dst(src.size() + 1);
    for (auto _ : state) {
        UErrorCode error = U_ZERO_ERROR;
        int32_t length = 0;
        benchmark::DoNotOptimize(u_strFromUTF8(dst.data(), int32_t(dst.size()), &length, src.c_str(), -1, &error));
        benchmark::ClobberMemory();
    }
    label(state, src.size());
}

void BM_ToUTF8_twcommon(benchmark::State &state) {
    std::u16string src = wide_text(int(state.range(0)));
    std::vector<char> dst(src.size() * 3 + 1);
    auto text = reinterpret_cast<const tw_wchar_t *>(src.c_str());
    for (auto _ : state) {
        benchmark::DoNotOptimize(utf8_wcstombs(dst.data(), text, dst.size()));
        benchmark::ClobberMemory();
    }
    label(state, utf8_text(int(state.range(0))).size());
}

void BM_ToUTF8_ICU(benchmark::State &state) {
    std::u16string src = wide_text(int(state.range(0)));
    std::vector<char> dst(src.size() * 3 + 1);
    for (auto _ : state) {
        UErrorCode error = U_ZERO_ERROR;
        int32_t length = 0;
        benchmark::DoNotOptimize(u_strToUTF8(dst.data(), int32_t(dst.size()), &length, src.c_str(), -1, &error));
        benchmark::ClobberMemory();
    }
    label(state, utf8_text(int(state.range(0))).size());
}

}  // namespace

// Names are OPERATION/IMPLEMENTATION/args so the report pairs them up.
BENCHMARK(BM_FromUTF8_twcommon)->Name("FromUTF8/twcommon")->DenseRange(0, 3);
BENCHMARK(BM_FromUTF8_ICU)->Name("FromUTF8/ICU")->DenseRange(0, 3);
BENCHMARK(BM_ToUTF8_twcommon)->Name("ToUTF8/twcommon")->DenseRange(0, 3);
BENCHMARK(BM_ToUTF8_ICU)->Name("ToUTF8/ICU")->DenseRange(0, 3);
