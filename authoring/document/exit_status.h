// How a run of the tool ends.
#pragma once

#include <stdexcept>
#include <string>

namespace quorvel::tool {

enum class ExitStatus : int {
    kDone = 0,
    kInvalid = 1,  // the profile, the graph or the audio is invalid
    kUsage = 2,    // wrong command line
    kFile = 3,     // a file cannot be read or written
};

// Ends the run: `what()` says where and why, for the user to read. Never thrown across the
// library's processing path.
class ToolError : public std::runtime_error {
  public:
    ToolError(ExitStatus exitStatus, const std::string& message)
        : std::runtime_error(message), status(exitStatus) {}

    ExitStatus Status() const { return status; }

  private:
    ExitStatus status;
};

inline ToolError InvalidInput(const std::string& message) {
    return {ExitStatus::kInvalid, message};
}

inline ToolError FileFailure(const std::string& path, const std::string& reason) {
    return {ExitStatus::kFile, path + ": " + reason};
}

}  // namespace quorvel::tool
