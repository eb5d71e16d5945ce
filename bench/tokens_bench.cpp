// Splitting a few KB of words and blanks into tokens: cstrTOcstra (a new
// array of new strings, freed each round) against strtok_r on a writable
// copy of the same text, collecting pointers (strtok_r) or also copying each
// token to the heap so both produce the same owned result (strtok_r+strdup).
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "twcommon/containers.h"

namespace {

// About 4 KB: words of 1 to 12 letters separated by runs of 1 to 3 blanks.
const std::string &text() {
    static const std::string words = [] {
        std::mt19937 rng(7);
        std::string out;
        while (out.size() < 4096) {
            out.append(1 + rng() % 3, ' ');
            out.append(1 + rng() % 12, char('a' + rng() % 26));
        }
        return out;
    }();
    return words;
}

void BM_Split_twcommon(benchmark::State &state) {
    const std::string &src = text();
    for (auto _ : state) {
        char **tokens = cstrTOcstra(src.c_str(), " ");
        benchmark::DoNotOptimize(tokens);
        cstraFREE(tokens);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(src.size()));
}

void BM_Split_strtok_r(benchmark::State &state) {
    const std::string &src = text();
    std::vector<char> buffer(src.size() + 1);
    std::vector<char *> tokens;
    tokens.reserve(src.size() / 2);
    for (auto _ : state) {
        memcpy(buffer.data(), src.c_str(), src.size() + 1);
        tokens.clear();
        char *save = nullptr;
        for (char *t = strtok_r(buffer.data(), " ", &save); t; t = strtok_r(nullptr, " ", &save)) tokens.push_back(t);
        benchmark::DoNotOptimize(tokens.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(src.size()));
}

void BM_Split_strtok_r_strdup(benchmark::State &state) {
    const std::string &src = text();
    std::vector<char> buffer(src.size() + 1);
    std::vector<char *> tokens;
    tokens.reserve(src.size() / 2);
    for (auto _ : state) {
        memcpy(buffer.data(), src.c_str(), src.size() + 1);
        tokens.clear();
        char *save = nullptr;
        for (char *t = strtok_r(buffer.data(), " ", &save); t; t = strtok_r(nullptr, " ", &save))
            tokens.push_back(strdup(t));
        benchmark::DoNotOptimize(tokens.data());
        for (char *t : tokens) free(t);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(src.size()));
}

}  // namespace

BENCHMARK(BM_Split_twcommon)->Name("Split/twcommon");
BENCHMARK(BM_Split_strtok_r)->Name("Split/strtok_r");
BENCHMARK(BM_Split_strtok_r_strdup)->Name("Split/strtok_r+strdup");
