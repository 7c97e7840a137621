// What a listener's head does to sound from a direction, relative to straight ahead.
//
// A direction is an azimuth in degrees: 0 straight ahead, positive to the left, 180 behind. The ear
// on the side of the source is the near ear, the other one the far ear. Each of them hears
//
//     gain × first-order high shelf × two peaking sections (ear_filters.h)
//
// and the far ear hears it later, by Woodworth's formula for a sphere (R. S. Woodworth,
// "Experimental Psychology", 1938):
//
//     lag = a/c · (θ + sin θ)        a = 0.0875 m, c = 343 m/s, θ = azimuth folded to 0 … π/2
//
// The curves were fitted, by least squares, to public measurements of a dummy head in the
// horizontal plane: their magnitude relative to straight ahead, averaged over both halves of the
// head and ±10 degrees and smoothed over 0.4 to 1 octave. So the colour of an ear canal, which
// listeners bring themselves, is left out, and what stays is what tells directions apart. The pair
// at 30 degrees is a compromise: its far ear is weaker by 3.5 dB near 1.7 kHz than measured, and
// half of the difference between a sound in one channel and one in both is put into both filters,
// so that neither is coloured by more than about 2 dB. The gains make every direction about as
// loud as a fold-down would (front 0 dB, others -3 dB), for ears that are summed up at 10^(-6/20)
// and raised by 6 dB: to 0.3 dB up to 110 degrees, 0.7 to 1.1 dB softer behind (LevelDbAt).
//
// Pure functions, for any thread.
#pragma once

namespace quorvel {

struct PeakCurve {
    double frequency = 1000.0;  // Hz
    double gainDb = 0.0;
    double q = 1.0;
};

struct EarCurve {
    double shelfFrequency = 1000.0;  // Hz, middle of the slope
    double shelfDb = 0.0;            // gain of the highest frequencies; that of the lowest is 0 dB
    PeakCurve peaks[2] = {};
};

struct HeadDirection {
    double azimuth = 0.0;  // degrees, 0 to 180
    double gain = 1.0;     // linear
    EarCurve nearEar{};
    EarCurve farEar{};
};

// Brings any finite azimuth in degrees to -180 < azimuth ≤ 180; one that is not finite becomes 0.
double WrapAzimuth(double azimuth);

// The model for the magnitude of `azimuth`, -180 to 180. Between the measured directions gains go
// linearly, in dB for the curves, frequencies and Qs geometrically.
HeadDirection DirectionAt(double azimuth);

// The level (dB) at which the model renders `azimuth`, -180 to 180: of pink noise, K-weighted
// (ITU-R BS.1770) over both ears, relative to straight ahead. Measured every 30 degrees; between
// them it is true to ±0.5 dB.
double LevelDbAt(double azimuth);

// How much later the far ear hears, in frames at `sampleRate` (Hz).
double FarEarLag(double azimuth, double sampleRate);

}  // namespace quorvel
