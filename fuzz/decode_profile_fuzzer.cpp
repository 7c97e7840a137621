// Feeds arbitrary text to the text form's reader. What it accepts must survive being written and
// read again, and be written the same way then.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "client/quorvel_audio_device.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    QuorvelAudioProfile profile;
    if (QuorvelAudioDevice::DecodeProfile(text.c_str(), &profile) != ERROR_SUCCESS) return 0;
    const char* written = QuorvelAudioDevice::EncodeProfile(&profile);
    QuorvelAudioProfile again;
    if (!written || QuorvelAudioDevice::DecodeProfile(written, &again) != ERROR_SUCCESS)
        std::abort();
    const char* rewritten = QuorvelAudioDevice::EncodeProfile(&again);
    if (!rewritten || std::strcmp(rewritten, written) != 0) std::abort();
    QuorvelAudioDevice::Free(const_cast<char*>(rewritten));
    QuorvelAudioDevice::Free(const_cast<char*>(written));
    return 0;
}
