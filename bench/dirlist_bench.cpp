// A sorted listing of a 10,000-entry directory: get_dir_list against
// std::filesystem::directory_iterator collecting the visible names and
// sorting them. Both read the same directory, made once in the temporary
// directory and removed at exit.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "twcommon/containers.h"

namespace fs = std::filesystem;

namespace {

constexpr int kEntries = 10000;

// The directory, filled with empty files named in a scattered order.
struct Directory {
    fs::path path;
    Directory() {
        path = fs::temp_directory_path() / ("twbench-dirlist-" + std::to_string(std::random_device()()));
        fs::create_directories(path);
        std::mt19937 random(42);
        for (int i = 0; i < kEntries; ++i) {
            std::string name = "file-" + std::to_string(random() % 1000000) + "-" + std::to_string(i) + ".dat";
            std::FILE *f = std::fopen((path / name).c_str(), "w");
            if (f) std::fclose(f);
        }
    }
    ~Directory() {
        std::error_code ignored;
        fs::remove_all(path, ignored);
    }
};

const Directory &directory() {
    static const Directory d;
    return d;
}

void BM_SortedListing_twcommon(benchmark::State &state) {
    const std::string dir = directory().path.string();
    for (auto _ : state) {
        int err = 0;
        char **names = get_dir_list(dir.c_str(), &err);
        benchmark::DoNotOptimize(names);
        free_dir_list(names);
    }
    state.SetItemsProcessed(state.iterations() * kEntries);
}

void BM_SortedListing_filesystem(benchmark::State &state) {
    const fs::path &dir = directory().path;
    for (auto _ : state) {
        std::vector<std::string> names;
        for (const auto &entry : fs::directory_iterator(dir)) {
            std::string name = entry.path().filename().string();
            if (name[0] != '.') names.push_back(std::move(name));
        }
        std::sort(names.begin(), names.end());
        benchmark::DoNotOptimize(names.data());
    }
    state.SetItemsProcessed(state.iterations() * kEntries);
}

}  // namespace

BENCHMARK(BM_SortedListing_twcommon)->Name("SortedListing/twcommon")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SortedListing_filesystem)->Name("SortedListing/filesystem")->Unit(benchmark::kMillisecond);
