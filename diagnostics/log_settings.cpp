#include "diagnostics/log_settings.h"

namespace quorvel {
namespace {

constexpr WCHAR kNoPath[] = {0};

}  // namespace

// Ready before any constructor of a static object runs.
constinit LogSettings logSettings = {
    .verbosity = 5,
    .sinkMode = LogSinkMode::kDebugger,
    .filePath = kNoPath,
    .wasUsed = false,
};

}  // namespace quorvel
