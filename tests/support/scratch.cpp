#include "support/scratch.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <random>

namespace fs = std::filesystem;

namespace twtest {

ScratchDir::ScratchDir() {
    const auto *info = ::testing::UnitTest::GetInstance()->current_test_info();
    std::string stem = info ? std::string(info->test_suite_name()) + "." + info->name() : "scratch";
    for (char &c : stem)
        if (!isalnum(static_cast<unsigned char>(c)) && c != '.') c = '_';
    std::random_device rd;
    fs::path dir = fs::temp_directory_path() / ("twtest-" + stem + "-" + std::to_string(rd()));
    fs::create_directories(dir);
    path_ = dir.string();
}

ScratchDir::~ScratchDir() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

std::string ScratchDir::file(const std::string &name) const { return (fs::path(path_) / name).string(); }

}  // namespace twtest
