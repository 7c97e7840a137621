// A directory of its own for a test, removed with all it holds.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "platform/windows_api.h"

namespace quorvel::test {

class TemporaryDirectory {
  public:
    TemporaryDirectory() {
        std::string name = testing::TempDir() + "quorvel-XXXXXX";
        EXPECT_TRUE(mkdtemp(name.data()));
        path = name;
    }
    ~TemporaryDirectory() { std::filesystem::remove_all(path); }

    std::filesystem::path operator/(const char* name) const { return path / name; }

  private:
    std::filesystem::path path;
};

inline std::basic_string<WCHAR> WidePath(const std::filesystem::path& path) {
    return path.u16string();
}

inline void FillFile(const std::filesystem::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

inline std::string FileText(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace quorvel::test
