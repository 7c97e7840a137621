// The external surround library, played for ExternalLibrary, with an engine that does nothing.
#pragma once

#include <string>
#include <vector>

#include "dsp/surround/external_engine.h"
#include "platform/portable/kernel/library_source.h"

namespace quorvel::test {

inline constexpr char16_t kOwnFolder[] = u"C:\\Program Files\\Quorvel\\";
inline constexpr char16_t kSystemFolder[] = u"C:\\Windows\\System32\\";
inline constexpr char16_t kSurroundFile[] = u"9EarsSurroundSound.dll";

// Plays the library at `place` for its lifetime, and writes down what is asked for. One at a time.
class PlayedSurroundLibrary {
  public:
    explicit PlayedSurroundLibrary(std::u16string place) {
        library.functions["?Create@NineEarsSurroundSound@@YAHAEAPEAVINineEarsSurroundSound@@@Z"] =
            reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(&Create));
        engines = 0;
        platform::SetLibrarySource([this, place](std::u16string_view path) {
            asked.emplace_back(path);
            return path == place ? &library : nullptr;
        });
    }
    ~PlayedSurroundLibrary() { platform::SetLibrarySource({}); }
    PlayedSurroundLibrary(const PlayedSurroundLibrary&) = delete;
    PlayedSurroundLibrary& operator=(const PlayedSurroundLibrary&) = delete;

    platform::PlayedLibrary library;
    std::vector<std::u16string> asked;
    static inline int engines = 0;       // made so far
    static inline int createResult = 0;  // not 0: makes none

  private:
    class Engine final : public INineEarsSurroundSound {
      public:
        void Destroy() override { delete this; }
        void SetSampleRate(int32_t) override {}
        int32_t SetSpeakerConfiguration(int32_t) override { return 0; }
        void SetSwitchB(int32_t) override {}
        void SetEffectEnabled(int32_t) override {}
        void SetValueA(float) override {}
        void SetSpeakerAngles(const float*) override {}
        void SetChannelValues(const float*) override {}
        void SetValueB(float) override {}
        void Render(const float*, int32_t, float*) override {}
    };

    static int Create(INineEarsSurroundSound*& engine) {
        if (createResult != 0) return createResult;
        ++engines;
        engine = new Engine;
        return 0;
    }
};

}  // namespace quorvel::test
