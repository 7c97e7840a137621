// Charts as a script for gnuplot.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace quorvel::tool {

struct Curve {
    std::string title{};                              // in the legend
    std::vector<std::pair<double, double>> points{};  // a NaN breaks the line
};

struct Axis {
    std::string label{};  // with the unit
    double from = 0.0;    // equal to `to`: as the curves need
    double to = 0.0;
    bool isFrequency = false;  // logarithmic, in Hz
};

struct Chart {
    std::string title{};
    Axis x{};
    Axis y{};
    std::vector<Curve> curves{};
    bool isHalf = false;  // shares its row with the next chart
};

// The script that draws the charts below each other under one title, as an SVG or PNG picture to
// standard output.
std::string PlotScript(const std::string& title, const std::string& subtitle,
                       const std::vector<Chart>& charts, bool isPng);

}  // namespace quorvel::tool
