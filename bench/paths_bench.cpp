// Named path lookups: a cached getOrrickString against a hash map find over
// the same names, and expandOrrickString of a three-reference template
// against building the same text from a hash map by hand.
#include <benchmark/benchmark.h>

#include <string>
#include <unordered_map>
#include <vector>

#include "twcommon/config.h"

namespace {

// Names as programs ask for them, every value already cached.
struct Names {
    std::vector<std::string> names;
    std::unordered_map<std::string, std::string> map;
    Names() {
        forEachOrrickString(
            [](const char *name, const char *value, void *argument) {
                auto *self = static_cast<Names *>(argument);
                self->names.emplace_back(name);
                self->map.emplace(name, value);
            },
            this);
    }
};

const Names &names() {
    static const Names n;
    return n;
}

void BM_Lookup_twcommon(benchmark::State &state) {
    const auto &n = names().names;
    size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(getOrrickString(n[i].c_str()));
        if (++i == n.size()) i = 0;
    }
}

void BM_Lookup_unordered_map(benchmark::State &state) {
    const auto &n = names().names;
    const auto &map = names().map;
    size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(map.find(n[i]));
        if (++i == n.size()) i = 0;
    }
}

void BM_Expand3_twcommon(benchmark::State &state) {
    names();
    for (auto _ : state) {
        char *value = expandOrrickString("$BP_LOGS${_ps}$JOBD_NAME.log");
        benchmark::DoNotOptimize(value);
        freeOrrickString(value);
    }
}

void BM_Expand3_unordered_map(benchmark::State &state) {
    const auto &map = names().map;
    for (auto _ : state) {
        std::string value = map.find("BP_LOGS")->second + map.find("_ps")->second + map.find("JOBD_NAME")->second + ".log";
        benchmark::DoNotOptimize(value.data());
    }
}

}  // namespace

BENCHMARK(BM_Lookup_twcommon)->Name("Lookup/twcommon");
BENCHMARK(BM_Lookup_unordered_map)->Name("Lookup/unordered_map");
BENCHMARK(BM_Expand3_twcommon)->Name("Expand3/twcommon");
BENCHMARK(BM_Expand3_unordered_map)->Name("Expand3/unordered_map");
