// A file that appears only when it is complete.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "authoring/document/source_files.h"

namespace quorvel::tool {

// What the user wants written.
struct Output {
    std::string path{};
    bool mayReplace = false;  // any file that is there (--force)
};

// Bytes go to a temporary file beside the target, which Commit renames over it; a run that fails
// or is ended by SIGINT, SIGTERM or SIGHUP leaves no trace and what was there. A symbolic link is
// followed. A target that exists and is no regular file (a device, a pipe) is written directly.
//
// No file is lost by mistake. Refused are a target that this run reads
// (authoring/document/source_files.h) or that another OutputFile writes, by whatever link, and a
// file with content that this tool did not make (authoring/document/tool_mark.h), unless it may be
// replaced.
//
// Several objects may exist; they are made, committed and destroyed on one thread.
//
// Write and Seek do not throw, so that C callbacks may call them: the first failure is kept, makes
// the later calls fail, and is thrown by Commit.
class OutputFile {
  public:
    // The temporary files that there may be at a time; making one more fails.
    static constexpr std::size_t kMostAtOnce = 64;

    // Throws ToolError: usage where the target is refused, file when the temporary file cannot be
    // made.
    explicit OutputFile(const Output& output);
    ~OutputFile();  // removes the temporary file unless committed
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // Writes at the present position; whether all bytes were taken.
    bool Write(const void* bytes, std::size_t size);

    // Moves to a position, in bytes from the start; whether it could.
    bool Seek(std::int64_t position);

    std::int64_t Position() const { return position; }
    std::int64_t Length() const { return length; }

    // Closes the file and gives it its name. Throws ToolError (file) when anything failed.
    void Commit();

    // The error code of the first failure; 0 when there is none.
    int FirstError() const { return firstError; }
    const std::string& Path() const { return path; }

  private:
    bool Keep(bool succeeded);
    void RequireOwnTarget() const;
    void RequireReplaceable(bool hasContent, bool mayReplace) const;
    void MakeTemporary();
    void RemoveTemporary();

    std::string path;                        // as the user gave it
    std::string target;                      // the same, absolute, with symbolic links followed
    std::optional<FileIdentity> existing{};  // the file that is there
    std::string temporary;                   // empty when the target is written directly
    int descriptor = -1;
    int firstError = 0;
    std::int64_t position = 0;
    std::int64_t length = 0;
};

// Makes a file of `text`, or writes it to standard output when the path is empty.
void WriteResult(const Output& output, const std::string& text);

}  // namespace quorvel::tool
