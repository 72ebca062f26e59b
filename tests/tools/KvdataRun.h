// Runs the kvdata program of the build as a user would, in a scratch folder of the test's
// own, and returns its exit status and what it wrote.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace kvtest {

namespace fs = std::filesystem;

struct Outcome {
    int status;
    std::string out, err;
};

inline std::string Slurp(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

class KvdataRun : public ::testing::Test {
protected:
    void SetUp() override {
        const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
        dir = fs::temp_directory_path() /
              ("kvdata-test-" + std::to_string(::getpid()) + "-" + test->test_suite_name() + "-" + test->name());
        fs::create_directories(dir);
    }
    void TearDown() override { fs::remove_all(dir); }

    Outcome Kv(const std::string& args, const std::string& input = "") const {
        const fs::path in = dir / "stdin", out = dir / "stdout", err = dir / "stderr";
        std::ofstream(in, std::ios::binary) << input;
        const std::string command = std::string(KVDATA_PROGRAM) + " " + args + " <" + in.string() + " >" +
                                    out.string() + " 2>" + err.string();
        const int raw = std::system(command.c_str());
        return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, Slurp(out), Slurp(err)};
    }

    fs::path dir;
};

}  // namespace kvtest
