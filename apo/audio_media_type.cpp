#include "apo/audio_media_type.h"

#include <cmath>
#include <cstring>
#include <new>

#include "apo/reference_count.h"
#include "engine/audio_format.h"
#include "platform/interface_ids.h"

namespace quorvel {
namespace {

// KSDATAFORMAT_SUBTYPE_PCM.
constexpr GUID kPcmSubFormat = {
    0x00000001, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};

constexpr WORD kPcmTag = 1;
constexpr WORD kFloatTag = 3;
constexpr WORD kExtensionSize = sizeof(WAVEFORMATEXTENSIBLE) - sizeof(WAVEFORMATEX);

class AudioMediaType final : public IAudioMediaType {
  public:
    AudioMediaType(const WAVEFORMATEXTENSIBLE& waveFormat,
                   const UNCOMPRESSEDAUDIOFORMAT& uncompressedFormat)
        : wave(waveFormat), uncompressed(uncompressedFormat) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        if (!object) return E_POINTER;
        const bool isKnown = iid == interface_id::kUnknown || iid == interface_id::kAudioMediaType;
        *object = isKnown ? static_cast<IAudioMediaType*>(this) : nullptr;
        if (!isKnown) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return references.Add(); }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = references.Release();
        if (left == 0) delete this;
        return left;
    }

    HRESULT STDMETHODCALLTYPE IsCompressedFormat(BOOL* compressed) override {
        if (!compressed) return E_POINTER;
        *compressed = FALSE;
        return S_OK;
    }

    // S_OK when everything agrees, else S_FALSE; the flags tell no more than that.
    HRESULT STDMETHODCALLTYPE IsEqual(IAudioMediaType* other, DWORD* flags) override {
        if (!other || !flags) return E_POINTER;
        UNCOMPRESSEDAUDIOFORMAT theirs{};
        const HRESULT result = other->GetUncompressedAudioFormat(&theirs);
        if (FAILED(result)) return result;
        const bool isEqual = std::memcmp(&theirs, &uncompressed, sizeof(theirs)) == 0;
        *flags = isEqual ? 0xF : 0;
        return isEqual ? S_OK : S_FALSE;
    }

    const WAVEFORMATEX* STDMETHODCALLTYPE GetAudioFormat() override { return &wave.Format; }

    HRESULT STDMETHODCALLTYPE GetUncompressedAudioFormat(UNCOMPRESSEDAUDIOFORMAT* format) override {
        if (!format) return E_POINTER;
        *format = uncompressed;
        return S_OK;
    }

  private:
    ReferenceCount references;
    const WAVEFORMATEXTENSIBLE wave;  // of a plain format only the front
    const UNCOMPRESSEDAUDIOFORMAT uncompressed;
};

HRESULT Make(const WAVEFORMATEXTENSIBLE& wave, const UNCOMPRESSEDAUDIOFORMAT& uncompressed,
             IAudioMediaType** mediaType) {
    *mediaType = new (std::nothrow) AudioMediaType(wave, uncompressed);
    return *mediaType ? S_OK : E_OUTOFMEMORY;
}

WORD TagOf(const GUID& format) {
    if (format == kPcmSubFormat) return kPcmTag;
    return format == kIeeeFloatSubFormat ? kFloatTag : WAVE_FORMAT_EXTENSIBLE;
}

}  // namespace

HRESULT CreateAudioMediaType(const UNCOMPRESSEDAUDIOFORMAT& format, IAudioMediaType** mediaType) {
    const std::uint64_t bits = std::uint64_t{format.dwBytesPerSampleContainer} * 8;
    const std::uint64_t frameBytes =
        std::uint64_t{format.dwSamplesPerFrame} * format.dwBytesPerSampleContainer;
    if (format.dwSamplesPerFrame > 0xFFFF || bits > 0xFFFF || frameBytes > 0xFFFF)
        return E_INVALIDARG;
    // A rate that no record holds, NaN included, is none.
    const bool hasRate = format.fFramesPerSecond >= 0.0f && format.fFramesPerSecond < 4294967296.0f;
    const DWORD rate = hasRate ? static_cast<DWORD>(format.fFramesPerSecond) : 0;

    const WORD tag = TagOf(format.guidFormatType);
    const bool isPlain = format.dwSamplesPerFrame <= 2 && tag != WAVE_FORMAT_EXTENSIBLE;
    WAVEFORMATEXTENSIBLE wave{};
    wave.Format.wFormatTag = isPlain ? tag : WAVE_FORMAT_EXTENSIBLE;
    wave.Format.nChannels = static_cast<WORD>(format.dwSamplesPerFrame);
    wave.Format.nSamplesPerSec = rate;
    wave.Format.nBlockAlign = static_cast<WORD>(frameBytes);
    wave.Format.nAvgBytesPerSec = static_cast<DWORD>(frameBytes * rate);
    wave.Format.wBitsPerSample = static_cast<WORD>(bits);
    wave.Format.cbSize = isPlain ? 0 : kExtensionSize;
    wave.Samples.wValidBitsPerSample = static_cast<WORD>(format.dwValidBitsPerSample);
    wave.dwChannelMask = format.dwChannelMask;
    wave.SubFormat = format.guidFormatType;
    return Make(wave, format, mediaType);
}

HRESULT CreateAudioMediaType(const WAVEFORMATEX& format, IAudioMediaType** mediaType) {
    WAVEFORMATEXTENSIBLE wave{};
    const bool isExtensible = format.wFormatTag == WAVE_FORMAT_EXTENSIBLE;
    if (isExtensible && format.cbSize < kExtensionSize) return E_INVALIDARG;
    if (!isExtensible && format.wFormatTag != kPcmTag && format.wFormatTag != kFloatTag)
        return E_INVALIDARG;
    std::memcpy(&wave, &format, isExtensible ? sizeof(wave) : sizeof(wave.Format));
    if (!isExtensible)
        wave.SubFormat = format.wFormatTag == kPcmTag ? kPcmSubFormat : kIeeeFloatSubFormat;
    wave.Format.cbSize = isExtensible ? kExtensionSize : WORD{0};

    const WORD validBits = wave.Samples.wValidBitsPerSample;
    return Make(
        wave,
        {.guidFormatType = wave.SubFormat,
         .dwSamplesPerFrame = wave.Format.nChannels,
         .dwBytesPerSampleContainer = DWORD{wave.Format.wBitsPerSample} / 8,
         .dwValidBitsPerSample = isExtensible && validBits ? validBits : wave.Format.wBitsPerSample,
         .fFramesPerSecond = static_cast<FLOAT>(wave.Format.nSamplesPerSec),
         .dwChannelMask = wave.dwChannelMask},
        mediaType);
}

HRESULT AnswerFormatQuery(IAudioMediaType* requested, bool isChanged,
                          const UNCOMPRESSEDAUDIOFORMAT& format, IAudioMediaType** answer) {
    *answer = nullptr;
    if (!isChanged) {
        requested->AddRef();
        *answer = requested;
        return S_OK;
    }
    const HRESULT result = CreateAudioMediaType(format, answer);
    return FAILED(result) ? result : S_FALSE;
}

}  // namespace quorvel
