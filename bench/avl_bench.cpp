// The AVL tree against std::map and GLib's balanced tree, over 1,000,000
// random 32-bit keys (fixed seed). The AVL tree and the GTree hold pointers
// into one preallocated array of values and compare through them; std::map
// holds the values. Lookups and removals use the same values in another
// order, through pointers into a second array.
#include <benchmark/benchmark.h>
#include <glib.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <random>
#include <vector>

#include "twcommon/containers.h"

namespace {

constexpr size_t kCount = 1000000;

struct Keys {
    std::vector<uint32_t> inserted;  // insertion order
    std::vector<uint32_t> probes;    // the same values, shuffled
};

const Keys &keys() {
    static const Keys k = [] {
        Keys k;
        std::mt19937 rng(20240229);
        k.inserted.resize(kCount);
        for (auto &v : k.inserted) v = rng();
        k.probes = k.inserted;
        std::shuffle(k.probes.begin(), k.probes.end(), rng);
        return k;
    }();
    return k;
}

void *as_item(const uint32_t &v) { return const_cast<uint32_t *>(&v); }

int avl_compare(const void *key, const void *item) {
    uint32_t a = *static_cast<const uint32_t *>(key), b = *static_cast<const uint32_t *>(item);
    return (a > b) - (a < b);
}

gint gtree_compare(gconstpointer key, gconstpointer item) {
    uint32_t a = *static_cast<const uint32_t *>(key), b = *static_cast<const uint32_t *>(item);
    return (a > b) - (a < b);
}

AVLtree *build_avl() {
    AVLtree *tree = AVLopen(avl_compare, nullptr);
    for (const uint32_t &v : keys().inserted) AVLinsert(tree, as_item(v));
    return tree;
}

std::map<uint32_t, uint32_t> build_map() {
    std::map<uint32_t, uint32_t> map;
    for (uint32_t v : keys().inserted) map.emplace(v, v);
    return map;
}

GTree *build_gtree() {
    GTree *tree = g_tree_new(gtree_compare);
    for (const uint32_t &v : keys().inserted) g_tree_insert(tree, as_item(v), as_item(v));
    return tree;
}

void finish(benchmark::State &state) { state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(kCount)); }

void BM_Insert_avl(benchmark::State &state) {
    keys();
    for (auto _ : state) {
        AVLtree *tree = build_avl();
        state.PauseTiming();
        AVLclose(tree);
        state.ResumeTiming();
    }
    finish(state);
}

void BM_Insert_std_map(benchmark::State &state) {
    keys();
    for (auto _ : state) {
        std::map<uint32_t, uint32_t> map = build_map();
        benchmark::DoNotOptimize(map);
        state.PauseTiming();
        map.clear();
        state.ResumeTiming();
    }
    finish(state);
}

void BM_Insert_gtree(benchmark::State &state) {
    keys();
    for (auto _ : state) {
        GTree *tree = build_gtree();
        state.PauseTiming();
        g_tree_destroy(tree);
        state.ResumeTiming();
    }
    finish(state);
}

void BM_Lookup_avl(benchmark::State &state) {
    AVLtree *tree = build_avl();
    for (auto _ : state)
        for (const uint32_t &v : keys().probes) benchmark::DoNotOptimize(AVLretrieve(tree, &v));
    AVLclose(tree);
    finish(state);
}

void BM_Lookup_std_map(benchmark::State &state) {
    std::map<uint32_t, uint32_t> map = build_map();
    for (auto _ : state)
        for (uint32_t v : keys().probes) benchmark::DoNotOptimize(map.find(v));
    finish(state);
}

void BM_Lookup_gtree(benchmark::State &state) {
    GTree *tree = build_gtree();
    for (auto _ : state)
        for (const uint32_t &v : keys().probes) benchmark::DoNotOptimize(g_tree_lookup(tree, &v));
    g_tree_destroy(tree);
    finish(state);
}

void BM_Remove_avl(benchmark::State &state) {
    for (auto _ : state) {
        state.PauseTiming();
        AVLtree *tree = build_avl();
        state.ResumeTiming();
        for (const uint32_t &v : keys().probes) benchmark::DoNotOptimize(AVLremove(tree, &v));
        state.PauseTiming();
        AVLclose(tree);
        state.ResumeTiming();
    }
    finish(state);
}

void BM_Remove_std_map(benchmark::State &state) {
    for (auto _ : state) {
        state.PauseTiming();
        std::map<uint32_t, uint32_t> map = build_map();
        state.ResumeTiming();
        for (uint32_t v : keys().probes) benchmark::DoNotOptimize(map.erase(v));
    }
    finish(state);
}

void BM_Remove_gtree(benchmark::State &state) {
    for (auto _ : state) {
        state.PauseTiming();
        GTree *tree = build_gtree();
        state.ResumeTiming();
        for (const uint32_t &v : keys().probes) benchmark::DoNotOptimize(g_tree_remove(tree, &v));
        state.PauseTiming();
        g_tree_destroy(tree);
        state.ResumeTiming();
    }
    finish(state);
}

}  // namespace

BENCHMARK(BM_Insert_avl)->Name("Insert/twcommon")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Insert_std_map)->Name("Insert/std_map")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Insert_gtree)->Name("Insert/gtree")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Lookup_avl)->Name("Lookup/twcommon")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Lookup_std_map)->Name("Lookup/std_map")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Lookup_gtree)->Name("Lookup/gtree")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Remove_avl)->Name("Remove/twcommon")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Remove_std_map)->Name("Remove/std_map")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Remove_gtree)->Name("Remove/gtree")->Unit(benchmark::kMillisecond);
