// A scratch directory per test case, removed with everything in it afterwards.
#ifndef TWTEST_SCRATCH_H
#define TWTEST_SCRATCH_H

#include <string>

namespace twtest {

class ScratchDir {
public:
    ScratchDir();
    ~ScratchDir();
    ScratchDir(const ScratchDir &) = delete;
    ScratchDir &operator=(const ScratchDir &) = delete;
    const std::string &path() const { return path_; }
    // path() joined with name by the platform's separator.
    std::string file(const std::string &name) const;

private:
    std::string path_;
};

}  // namespace twtest

#endif
