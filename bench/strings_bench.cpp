// Bounded copy, append and format against libbsd's strlcpy/strlcat and the C
// library's snprintf, on the same texts in the same run.
#include <benchmark/benchmark.h>
#include <bsd/string.h>

#include <cstdio>
#include <string>

#include "twcommon/text.h"

namespace {

// Short path-like texts and a long line, the two shapes the library copies most.
const std::string kShort = "/var/opt/tallowind/logs/bpdaemon";
const std::string kLong(1000, 'x');

const std::string &text_for(benchmark::State &state) {
    state.SetLabel(state.range(0) ? "1000 bytes" : "path");
    return state.range(0) ? kLong : kShort;
}

template <typename Copy>
void copy_bench(benchmark::State &state, Copy copy) {
    const std::string &src = text_for(state);
    char dst[2048];
    for (auto _ : state) {
        benchmark::DoNotOptimize(copy(dst, src.c_str(), sizeof dst));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(src.size()));
}

template <typename Append>
void append_bench(benchmark::State &state, Append append) {
    const std::string &src = text_for(state);
    char dst[2048];
    for (auto _ : state) {
        dst[0] = '\0';
        benchmark::DoNotOptimize(append(dst, src.c_str(), sizeof dst));
        benchmark::DoNotOptimize(append(dst, src.c_str(), sizeof dst));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(2 * src.size()));
}

void BM_Copy_twcommon(benchmark::State &s) { copy_bench(s, [](char *d, const char *t, unsigned n) { return Q_strlcpy(d, t, n); }); }
void BM_Copy_libbsd(benchmark::State &s) { copy_bench(s, [](char *d, const char *t, size_t n) { return strlcpy(d, t, n); }); }
void BM_Append_twcommon(benchmark::State &s) { append_bench(s, [](char *d, const char *t, unsigned n) { return Q_strlcat(d, t, n); }); }
void BM_Append_libbsd(benchmark::State &s) { append_bench(s, [](char *d, const char *t, size_t n) { return strlcat(d, t, n); }); }

template <typename Format>
void format_bench(benchmark::State &state, Format format) {
    char dst[256];
    for (auto _ : state) {
        benchmark::DoNotOptimize(format(dst, sizeof dst));
        benchmark::ClobberMemory();
    }
}

void BM_Format_twcommon(benchmark::State &s) {
    format_bench(s, [](char *d, unsigned n) { return Q_snprintf(d, n, "%02d:%02d:%02d.%03d [%d.%d] %s", 12, 34, 56, 789, 4242, 17, "opened"); });
}
void BM_Format_glibc(benchmark::State &s) {
    format_bench(s, [](char *d, size_t n) { return std::snprintf(d, n, "%02d:%02d:%02d.%03d [%d.%d] %s", 12, 34, 56, 789, 4242, 17, "opened"); });
}

}  // namespace

// Names are OPERATION/IMPLEMENTATION/args so the report pairs them up.
BENCHMARK(BM_Copy_twcommon)->Name("Copy/twcommon")->Arg(0)->Arg(1);
BENCHMARK(BM_Copy_libbsd)->Name("Copy/libbsd")->Arg(0)->Arg(1);
BENCHMARK(BM_Append_twcommon)->Name("Append/twcommon")->Arg(0)->Arg(1);
BENCHMARK(BM_Append_libbsd)->Name("Append/libbsd")->Arg(0)->Arg(1);
BENCHMARK(BM_Format_twcommon)->Name("Format/twcommon");
BENCHMARK(BM_Format_glibc)->Name("Format/glibc");
