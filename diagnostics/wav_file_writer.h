// Dumps of 32-bit float audio in WAV files, for looking at a stream with a sound editor.
//
// Kept ready for diagnostic builds; nothing in the system calls it. The header on disk is true
// after every append, so a dump that ends with the process can be opened all the same.
//
// One thread at a time; every call blocks on the file system, so none belongs on the real-time
// thread. Failures are told by the results alone and leave no state behind.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/unique_handle.h"

namespace quorvel {

#pragma pack(push, 1)
// The head of the file, little-endian: a RIFF chunk that holds a format chunk and a data chunk.
struct WavHeader {
    char riffId[4] = {'R', 'I', 'F', 'F'};
    uint32_t riffSize = 36;  // bytes behind this field: the rest of the header and the data
    char waveId[4] = {'W', 'A', 'V', 'E'};
    char formatId[4] = {'f', 'm', 't', ' '};
    uint32_t formatSize = 16;
    uint16_t formatTag = 3;  // IEEE float
    uint16_t channels = 0;
    uint32_t sampleRate = 48000;  // Hz, whatever the rate of the stream
    uint32_t byteRate = 0;        // bytes per second
    uint16_t blockAlign = 0;      // bytes per frame
    uint16_t bitsPerSample = 32;
    char dataId[4] = {'d', 'a', 't', 'a'};
    uint32_t dataSize = 0;  // bytes behind this field
};
#pragma pack(pop)
static_assert(sizeof(WavHeader) == 44);
static_assert(offsetof(WavHeader, riffSize) == 4);
static_assert(offsetof(WavHeader, formatTag) == 20);
static_assert(offsetof(WavHeader, sampleRate) == 24);
static_assert(offsetof(WavHeader, blockAlign) == 32);
static_assert(offsetof(WavHeader, dataSize) == 40);

class WavFileWriter {
  public:
    // Opens the dump at `path`; closes one that is open. A file that has 44 bytes at least is taken
    // for a dump to continue: its first 44 bytes are the header from then on, whatever they hold,
    // and `channels` counts for nothing. A shorter file, or none, gets a fresh header. Others may
    // read the file meanwhile. False when the file cannot be opened or the header not be written,
    // or there is no memory.
    bool Open(const WCHAR* path, uint16_t channels);

    // Appends `size` bytes of interleaved samples and brings the header on disk up to date. The
    // sizes wrap at 4 GiB. False, and the header stays, when the samples cannot be written in full;
    // false too when the header cannot.
    bool Append(uint32_t size, const void* data);

    // Appends without touching the header.
    bool AppendRaw(uint32_t size, const void* data);

    // Reads or writes the first 44 bytes of the file; the header kept in memory stays as it is.
    // False when it is not all 44. Not const: they move the file's position.
    bool ReadHeader(WavHeader& to);
    bool WriteHeader(const WavHeader& from);

    // Closes the file, if one is open. Every other call but Open then fails.
    void Close();

  private:
    std::unique_ptr<WavHeader> header;  // none before the first Open
    platform::UniqueHandle file;
};

}  // namespace quorvel
