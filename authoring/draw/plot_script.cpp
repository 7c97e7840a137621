#include "authoring/draw/plot_script.h"

#include <algorithm>
#include <cmath>

#include "authoring/document/formatted_print.h"
#include "authoring/document/printable.h"

namespace quorvel::tool {
namespace {

constexpr int kWidth = 1100, kRowHeight = 340, kTitleHeight = 64;  // pixels
constexpr std::size_t kLongTitle = 80;                             // bytes

// The range first takes one that either scale can have.
constexpr const char* kFrequencyAxis =
    "set xrange [1:2]\nset logscale x 10\n"
    "set xtics (20, 50, 100, 200, 500, '1k' 1000, '2k' 2000, '5k' 5000, '10k' 10000, '20k' 20000)\n"
    "set mxtics 1\n";
constexpr const char* kPlainAxis =
    "set xrange [1:2]\nunset logscale x\nset xtics auto\nset mxtics default\n";

// As a string of gnuplot, in one line.
std::string Text(const std::string& text) {
    std::string quoted = "'";
    for (const char character : Printable(text)) {
        if (character == '\'') quoted += '\'';
        quoted += character;
    }
    return quoted + "'";
}

// So that the legend leaves room for the curves. Cut between characters (UTF-8).
std::string Shortened(const std::string& title) {
    constexpr std::size_t kMost = 24;  // bytes
    std::size_t end = std::min(title.size(), kMost);
    while (end < title.size() && (static_cast<unsigned char>(title[end]) & 0xC0) == 0x80)
        --end;
    return end == title.size() ? title : title.substr(0, end) + "...";
}

std::string AxisText(char name, const Axis& axis) {
    std::string text = std::string("set ") + name + "label " + Text(axis.label) + "\n";
    if (axis.from == axis.to) return text + "set autoscale " + name + "\n";
    return text + Formatted("set %crange [%g:%g]\n", name, axis.from, axis.to);
}

std::string DataText(const Curve& curve) {
    std::string text;
    for (const auto& [x, y] : curve.points)
        text += std::isnan(y) ? "\n" : Formatted("%.6g %.5g\n", x, y);
    return text;
}

// The first curve stands out; the others take the default colours.
std::string StyleText(std::size_t curve) {
    return curve == 0 ? "lines lw 3.5 lc rgb '#202020'" : Formatted("lines lw 1.5 lt %zu", curve);
}

std::string ChartText(const Chart& chart) {
    std::string text = "set title " + Text(chart.title) + "\n" +
                       (chart.x.isFrequency ? kFrequencyAxis : kPlainAxis) +
                       AxisText('x', chart.x) + AxisText('y', chart.y);
    text += chart.curves.size() < 2 ? "unset key\n"
            : chart.isHalf          ? "set key inside left top Left reverse\n"
                                    : "set key outside right top Left reverse\n";
    text += chart.isHalf ? "set rmargin 3\n" : "set rmargin 24\n";
    std::string plot;
    for (std::size_t i = 0; i < chart.curves.size(); ++i) {
        text += Formatted("$curve%zu << EOD\n", i) + DataText(chart.curves[i]) + "EOD\n";
        plot += (i ? ", \\\n     " : "plot ") + Formatted("$curve%zu with ", i) + StyleText(i) +
                " title " + Text(Shortened(chart.curves[i].title));
    }
    return text + plot + "\n";
}

std::size_t Rows(const std::vector<Chart>& charts) {
    const auto halves = static_cast<std::size_t>(std::ranges::count_if(charts, &Chart::isHalf));
    return charts.size() - halves / 2;
}

}  // namespace

std::string PlotScript(const std::string& title, const std::string& subtitle,
                       const std::vector<Chart>& charts, bool isPng) {
    const std::size_t rows = Rows(charts);
    const int height = static_cast<int>(rows) * kRowHeight + kTitleHeight;
    std::string text = isPng ? "set terminal pngcairo" : "set terminal svg dynamic";
    text += Formatted(" noenhanced size %d,%d font 'DejaVu Sans,11' background rgb 'white'\n",
                      kWidth, height);
    text +=
        "set encoding utf8\nset multiplot\nset grid lt 1 lw 0.5 lc rgb '#c8c8c8'\nset lmargin 10\n";
    const int fontSize = title.size() > kLongTitle ? 11 : 16;
    text += "set label 1 " + Text(title) + " at screen 0.5, screen " +
            Formatted("%g center font ',%d'\n", 1.0 - kTitleHeight * 0.35 / height, fontSize);
    text += "set label 2 " + Text(subtitle) + " at screen 0.5, screen " +
            Formatted("%g center\n", 1.0 - kTitleHeight * 0.75 / height);
    const double rowPart = double(kRowHeight) / height;
    double top = 1.0 - double(kTitleHeight) / height;
    bool isRight = false;
    for (const Chart& chart : charts) {
        text += Formatted("set size %g, %g\nset origin %g, %g\n", chart.isHalf ? 0.5 : 1.0, rowPart,
                          isRight ? 0.5 : 0.0, top - rowPart);
        text += ChartText(chart) + "unset label\n";
        isRight = chart.isHalf && !isRight;
        if (!isRight) top -= rowPart;
    }
    return text + "unset multiplot\n";
}

}  // namespace quorvel::tool
