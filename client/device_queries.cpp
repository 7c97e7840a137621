// Questions about the device, and the analysis of its streams.
#include <algorithm>
#include <iterator>
#include <limits>

#include "base/byte_writer.h"
#include "client/answer_buffer.h"
#include "client/control_codes.h"
#include "client/quorvel_audio_device.h"

using quorvel::AnswerBuffer;
namespace control = quorvel::control;

namespace {

constexpr DWORD kVersionBytes = 256;
constexpr DWORD kLinkBytes = 2048;
constexpr std::uint64_t kLargestBuffer = std::numeric_limits<std::uint32_t>::max();

// KSCATEGORY_AUDIO, the interface class of audio devices.
constexpr GUID kAudioCategory = {
    0x6994AD04, 0x93EF, 0x11D0, {0xA3, 0xCC, 0x00, 0xA0, 0xC9, 0x22, 0x31, 0x96}};

// Turns the path of a kernel object, "\??\...", into one that CreateFileW takes, "\\?\...".
void MakeOpenable(WCHAR* link, DWORD units) {
    constexpr WCHAR kKernelPrefix[] = {'\\', '?', '?', '\\'};
    if (units <= std::size(kKernelPrefix)) return;
    if (std::equal(std::begin(kKernelPrefix), std::end(kKernelPrefix), link)) link[1] = '\\';
}

}  // namespace

DWORD QuorvelAudioDevice::GetText(DWORD code, const void* in, DWORD inSize, DWORD bytes,
                                  WCHAR** text, DWORD& units) {
    // One unit more than the answer, for the terminator of a text that fills it.
    quorvel::HeapArray<WCHAR> buffer = quorvel::AllocateArray<WCHAR>(bytes / sizeof(WCHAR) + 1);
    if (!buffer) return ERROR_NOT_ENOUGH_MEMORY;
    *text = nullptr;
    DWORD returned = 0;
    if (const DWORD error = Send(code, in, inSize, buffer.get(), bytes, returned)) return error;
    units = static_cast<DWORD>(returned / sizeof(WCHAR));
    buffer[units] = 0;
    *text = buffer.release();
    return ERROR_SUCCESS;
}

DWORD QuorvelAudioDevice::GetDriverVersion(WCHAR** version) {
    DWORD units = 0;
    return GetText(control::kGetDriverVersion, nullptr, 0, kVersionBytes, version, units);
}

DWORD QuorvelAudioDevice::GetInterfaceLink(const GUID* interfaceClass, WCHAR** link) {
    DWORD units = 0;
    const DWORD result = GetText(control::kGetInterfaceLink, interfaceClass,
                                 sizeof(*interfaceClass), kLinkBytes, link, units);
    if (result == ERROR_SUCCESS) MakeOpenable(*link, units);
    return result;
}

DWORD QuorvelAudioDevice::GetAudioInterface(WCHAR** link) {
    return GetInterfaceLink(&kAudioCategory, link);
}

DWORD QuorvelAudioDevice::GetDataFormatRange(_QuorvelSupportedDataFormats** formats) {
    AnswerBuffer answer;
    if (!answer.Allocate(sizeof(**formats))) return ERROR_NOT_ENOUGH_MEMORY;
    *formats = nullptr;
    if (const DWORD error = Ask(control::kGetDataFormatRange, nullptr, 0, answer)) return error;
    *formats = reinterpret_cast<_QuorvelSupportedDataFormats*>(answer.room.release());
    return ERROR_SUCCESS;
}

DWORD QuorvelAudioDevice::GetChannelMask(_QuorvelChannelsMaskInfo* info) {
    return GetSetData(control::kGetChannelMask, nullptr, 0, info, sizeof(*info), nullptr);
}

DWORD QuorvelAudioDevice::GetProcessPathByPID(DWORD pid, WCHAR* path, DWORD chars) {
    constexpr DWORD kMostUnits = kLargestBuffer / sizeof(char16_t);
    const DWORD bytes = std::min(chars, kMostUnits) * sizeof(char16_t);
    return GetSetData(control::kGetProcessPathByPID, &pid, sizeof(pid), path, bytes, nullptr);
}

DWORD QuorvelAudioDevice::EnableStreamAnalysis(int first, int second) {
    const std::int32_t record[] = {first, second};
    return Tell(control::kEnableStreamAnalysis, record, sizeof(record));
}

DWORD QuorvelAudioDevice::SetStreamAnalysisParams(int first, DWORD second, float third, int fourth,
                                                  int fifth, DWORD count, DWORD* values) {
    if (count != 0 && !values) return ERROR_INVALID_PARAMETER;
    const quorvel::StreamAnalysisParams params = {.first = first,
                                                  .second = static_cast<std::uint32_t>(second),
                                                  .third = third,
                                                  .fifth = fifth,
                                                  .fourth = fourth,
                                                  .count = static_cast<std::uint32_t>(count)};
    const std::uint64_t size = sizeof(params) + std::uint64_t{4} * count;
    AnswerBuffer record;
    if (size > kLargestBuffer || !record.Allocate(static_cast<std::uint32_t>(size)))
        return ERROR_NOT_ENOUGH_MEMORY;
    quorvel::ByteWriter writer({record.room.get(), static_cast<std::size_t>(size)});
    writer.Write(params);
    writer.WriteBytes(values, std::size_t{4} * count);
    return Tell(control::kSetStreamAnalysisParams, record.room.get(),
                static_cast<std::size_t>(size));
}

DWORD QuorvelAudioDevice::GetLastFrequenciesInfo(_QuorvelStreamAnalysisData* data, int selector) {
    const std::uint64_t size = sizeof(*data) + std::uint64_t{4} * data->count;
    if (size > kLargestBuffer) return ERROR_INVALID_PARAMETER;
    return GetSetData(control::kGetLastFrequenciesInfo, &selector, sizeof(selector), data,
                      static_cast<DWORD>(size), nullptr);
}
