// The filters' transfer functions in double precision, written apart from the library.
#pragma once

#include <complex>

#include "blocks/filter_band.h"

namespace quorvel {

// H(e^(i·2π·hz/rate)) of one band by the cookbook's formulas, shelves with slope 1.
std::complex<double> FormulaResponse(FilterType type, const FilterBand& band, double rate,
                                     double hz);

}  // namespace quorvel
