// Debug log lines per second: debuglog against spdlog's synchronous file
// sink flushed after every line, so that both hand each line to the kernel
// before returning (equal durability). Both stamp the time and the ids.
#include <benchmark/benchmark.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include <filesystem>
#include <memory>
#include <string>
#include <unistd.h>

#include "twcommon/diag.h"

namespace {

namespace fs = std::filesystem;

const std::string kText = "<2> bpbackup: sent 4096 bytes of /var/opt/data/file.dat to the media server";

struct ScratchLogDir {
    ScratchLogDir() : path(fs::temp_directory_path() / ("twbench-log-" + std::to_string(getpid()))) {
        fs::create_directories(path);
    }
    ~ScratchLogDir() {
        std::error_code ignored;
        fs::remove_all(path, ignored);
    }
    fs::path path;
};

void BM_debuglog_twcommon(benchmark::State &state) {
    ScratchLogDir dir;
    int err = 0;
    int fd = open_log(dir.path.string().c_str(), 0644, &err);
    if (fd < 0) {
        state.SkipWithError("open_log failed");
        return;
    }
    for (auto _ : state) benchmark::DoNotOptimize(debuglog(fd, kText.c_str()));
    close(fd);
    state.SetItemsProcessed(state.iterations());
}

void BM_debuglog_spdlog(benchmark::State &state) {
    ScratchLogDir dir;
    auto sink = std::make_shared<spdlog::sinks::basic_file_sink_st>((dir.path / "spdlog.log").string());
    spdlog::logger logger("bench", sink);
    logger.set_pattern("%H:%M:%S.%e [%P.%t] %v");
    logger.flush_on(spdlog::level::trace);
    for (auto _ : state) logger.info(kText);
    state.SetItemsProcessed(state.iterations());
}

}  // namespace

BENCHMARK(BM_debuglog_twcommon)->Name("debuglog/twcommon");
BENCHMARK(BM_debuglog_spdlog)->Name("debuglog/spdlog");
