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
        if (mkdtemp(name.data())) path = name;
        EXPECT_FALSE(path.empty());
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        if (!path.empty()) std::filesystem::remove_all(path, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

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
