// A surround engine that writes down what it is told.
#pragma once

#include <sstream>
#include <string>

#include "dsp/surround/external_engine.h"

namespace quorvel::test {

// Every call is written into `calls`: a word, its numbers behind it. `toGive` is what
// SetSpeakerConfiguration gives. Render writes 1, 2, 3, … and keeps the first two input samples.
class RecordingEngine final : public INineEarsSurroundSound {
  public:
    RecordingEngine(std::string& calls, const int32_t& toGive) : log(calls), answer(toGive) {}

    void Destroy() override {
        Note("Destroy");
        delete this;
    }
    void SetSampleRate(int32_t sampleRate) override { Note("Rate", sampleRate); }
    int32_t SetSpeakerConfiguration(int32_t code) override {
        Note("Configuration", code);
        return answer;
    }
    void SetSwitchB(int32_t isOn) override { Note("B", isOn); }
    void SetEffectEnabled(int32_t isOn) override { Note("Effect", isOn); }
    void SetValueA(float value) override { Note("ValueA", value); }
    void SetSpeakerAngles(const float* angles) override { NoteEight("Angles", angles); }
    void SetChannelValues(const float* values) override { NoteEight("Values", values); }
    void SetValueB(float value) override { Note("ValueB", value); }
    void Render(const float* in, int32_t frames, float* out) override {
        Note(in == out ? "Render in place" : "Render", frames, in[0], in[1]);
        for (int32_t i = 0; i < 2 * frames; ++i)
            out[i] = static_cast<float>(i + 1);
    }

  private:
    template <typename... Values>
    void Note(const char* what, Values... values) {
        std::ostringstream text;
        text << what;
        ((text << ' ' << values), ...);
        log += text.str() + ";";
    }
    void NoteEight(const char* what, const float* v) {
        Note(what, v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7]);
    }

    std::string& log;
    const int32_t& answer;
};

}  // namespace quorvel::test
