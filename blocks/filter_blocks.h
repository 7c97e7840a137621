// The seven filter blocks. They differ in the filter type alone: see blocks/eq_filter_block.h for
// what they do and dsp/biquad/biquad_design.h for the filters.
#pragma once

#include "blocks/eq_filter_block.h"

namespace quorvel {

// Passes what lies below the corner frequency.
class LowPassFilterBlock final : public EQFilterBlock {
  public:
    explicit LowPassFilterBlock(const GUID& instanceId);
};

// Passes what lies above the corner frequency.
class HighPassFilterBlock final : public EQFilterBlock {
  public:
    explicit HighPassFilterBlock(const GUID& instanceId);
};

// Passes what lies around the centre frequency, at 0 dB there.
class BandPassFilterBlock final : public EQFilterBlock {
  public:
    explicit BandPassFilterBlock(const GUID& instanceId);
};

// Removes the centre frequency.
class NotchFilterBlock final : public EQFilterBlock {
  public:
    explicit NotchFilterBlock(const GUID& instanceId);
};

// Raises or lowers what lies around the centre frequency by gainDb.
class PeakingEQFilterBlock final : public EQFilterBlock {
  public:
    explicit PeakingEQFilterBlock(const GUID& instanceId);
};

// Raises or lowers what lies below the corner frequency by gainDb, with slope 1.
class LowShelfFilterBlock final : public EQFilterBlock {
  public:
    explicit LowShelfFilterBlock(const GUID& instanceId);
};

// Raises or lowers what lies above the corner frequency by gainDb, with slope 1.
class HighShelfFilterBlock final : public EQFilterBlock {
  public:
    explicit HighShelfFilterBlock(const GUID& instanceId);
};

}  // namespace quorvel
