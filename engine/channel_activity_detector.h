// How many channels of a wide input the signal needs.
#pragma once

#include <cstdint>

namespace quorvel {

// Follows the speaker masks of successive buffers and settles on 2, 6 or 8 channels: wider at once,
// narrower only after the narrower signal has lasted for the hold time.
class ChannelActivityDetector {
  public:
    // Takes a buffer of `frames` frames (0 or more) whose active channels are `mask`. Silence and
    // masks of other speakers change nothing.
    void Update(uint32_t mask, int32_t frames);

    // Forgets detections and the hold time.
    void Reset();

    // Frames that a narrower detection must last, counted from its second buffer in a row.
    void SetHoldFrames(uint32_t frames) { holdFrames = frames; }

    // The width in force and its speaker mask; 0 before the first detection.
    uint32_t ActiveChannels() const { return activeChannels; }
    uint32_t ActiveChannelMask() const { return activeChannelMask; }

  private:
    uint32_t detectedChannels = 0;  // seen in the last buffer that counted: 0, 2, 6 or 8
    uint32_t activeChannels = 0;
    uint32_t activeChannelMask = 0;
    uint32_t holdFrames = 0;
    uint32_t heldFrames = 0;  // how long the present narrower detection has lasted
};

}  // namespace quorvel
