// Drawing: `plot` and `graph`.
#include <cmath>
#include <map>

#include "tests/tools/tool_run.h"

namespace quorvel::tool {
namespace {

class Drawn : public ToolRun {
  protected:
    // The points of every curve of a script, in the order in which they are drawn. A curve's text
    // stands between "$curveN << EOD" and "EOD".
    std::vector<std::map<double, double>> Curves(const std::string& script) const {
        std::vector<std::map<double, double>> curves;
        std::istringstream lines(Read(script));
        bool isInside = false;
        for (std::string line; std::getline(lines, line);) {
            if (line.ends_with("<< EOD")) curves.emplace_back();
            double x = 0.0, y = 0.0;
            if (isInside && std::sscanf(line.c_str(), "%lf %lf", &x, &y) == 2) curves.back()[x] = y;
            isInside = line.ends_with("<< EOD") || (isInside && line != "EOD");
        }
        return curves;
    }

    static double At(const std::map<double, double>& curve, double x) {
        const auto point = curve.lower_bound(x);
        return point == curve.end() ? std::nan("") : point->second;
    }
};

// Against what the parameters promise; the limiter's attack is its delay, which the gain leaves
// out.
TEST_F(Drawn, CurvesAreWhatTheBlocksDo) {
    WriteChain("chain.json",
               R"({"name": "it's", "type": "PeakingEQFilterBlock", "parameters": {"bands":
                   [{"frequency": 1000, "width": 1, "widthMode": "Q", "gainDb": 6}]}},
                  {"name": "gain", "type": "GainBlock", "parameters": {"gainDb": -20}},
                  {"name": "gate", "type": "NoiseGateBlock", "parameters":
                   {"thresholdDb": -50, "attackMs": 1, "releaseMs": 20}},
                  {"name": "hold", "type": "CompressorBlock", "parameters":
                   {"thresholdDb": -20, "attackMs": 5, "releaseMs": 50, "ratio": 0.5}},
                  {"name": "limit", "type": "LimiterBlock", "parameters":
                   {"thresholdDb": -3, "attackMs": 2, "releaseMs": 20}})",
               R"(["it's", "gain"], ["gain", "gate"], ["gate", "hold"], ["hold", "limit"])");
    const Result run = Tool("plot chain.json -o plot.gnuplot");
    ASSERT_EQ(run.status, 0) << run.error;
    const auto curves = Curves("plot.gnuplot");
    ASSERT_EQ(curves.size(), 13u);
    EXPECT_NEAR(At(curves[0], 1000.0), -14.0, 0.1) << "chain";
    EXPECT_NEAR(At(curves[0], 20.0), -20.0, 0.01);
    EXPECT_NEAR(At(curves[1], 1000.0), 6.0, 0.1) << "filter";
    EXPECT_NEAR(At(curves[3], 20.0), 0.0, 2.0) << "phase";
    EXPECT_NEAR(At(curves[4], -60.0), -120.0, 1e-6) << "gate";
    EXPECT_NEAR(At(curves[4], -40.0), -40.0, 0.01);
    EXPECT_NEAR(At(curves[6], 200.0), 0.0, 0.01) << "its gain";
    EXPECT_NEAR(At(curves[7], 0.0), -10.0, 0.01) << "compressor";
    EXPECT_NEAR(At(curves[7], -30.0), -30.0, 0.01);
    EXPECT_NEAR(At(curves[9], 300.0), -7.0, 0.01) << "its gain";
    EXPECT_NEAR(At(curves[10], 3.0), -3.0, 0.1) << "limiter";
    EXPECT_NEAR(At(curves[12], 140.0), -9.0, 0.1) << "its gain";
    EXPECT_NEAR(At(curves[12], 480.0), 0.0, 0.1);
}

// What a steady sine comes to, in chains with noise of their own, steering and delays.
TEST_F(Drawn, ResponsesAreWhatSinesComeTo) {
    constexpr double kFrequency = 987.7666;  // a point of the drawing
    Sound sine{2, std::vector<float>(2 * 48000)};
    for (std::size_t i = 0; i < sine.samples.size(); ++i)
        sine.samples[i] = static_cast<float>(
            0.01 * std::sin(2.0 * M_PI * kFrequency * static_cast<double>(i / 2) / 48000.0));
    WriteSound("in.wav", sine);
    const auto level = [](const std::vector<float>& samples) {
        double power = 0.0;
        for (std::size_t i = samples.size() / 2; i < samples.size(); i += 2)
            power += double{samples[i]} * samples[i];
        return 10.0 * std::log10(power);
    };
    for (const char* name : {"music_widened", "film_surround", "headphones_demo"}) {
        const std::string profile = std::string(" \"$PROFILES\"/") + name + ".json ";
        ASSERT_EQ(Tool("process" + profile + "in.wav out.wav").status, 0);
        const double heard = level(ReadSound("out.wav").samples) - level(sine.samples);
        ASSERT_EQ(Tool("plot" + profile + "-o plot.gnuplot").status, 0);
        EXPECT_NEAR(At(Curves("plot.gnuplot")[0], kFrequency - 0.1), heard, 0.1) << name;
    }
}

// Look-ahead, gain that the graph's limiter would hold back, and a resonance that takes its time.
TEST_F(Drawn, ResponsesAreHeldUntilTheySettle) {
    WriteChain("late.json", R"({"name": "late", "type": "LimiterBlock", "parameters":
                                {"thresholdDb": -3, "attackMs": 1000, "releaseMs": 10}},
                               {"name": "up", "type": "GainBlock", "parameters": {"gainDb": 60}},
                               {"name": "upper", "type": "GainBlock", "parameters": {"gainDb": 20}},
                               {"name": "sharp", "type": "BandPassFilterBlock", "parameters": {"bands":
                                [{"frequency": 1000, "width": 1000, "widthMode": "Q"}]}})",
               R"(["late", "up"], ["up", "upper"], ["upper", "sharp"])");
    const Result run = Tool("plot late.json -o plot.gnuplot");
    ASSERT_EQ(run.status, 0) << run.error;
    const auto curves = Curves("plot.gnuplot");
    EXPECT_NEAR(At(curves[0], 1000.0), 80.0, 0.1);
    EXPECT_NEAR(At(curves[0], 1015.0), 80.0 - 30.03, 0.2);
    EXPECT_NEAR(At(curves[2], 1000.0), 0.0, 5.0) << "phase, without the delay";
}

TEST_F(Drawn, PicturesAreMadeWhereTheProgramsAre) {
    for (const char* form : {"svg", "png"}) {
        const std::string end = std::string(" -o picture.") + form;
        const std::string begin = *form == 's' ? "<?xml" : "\x89PNG";
        for (const char* command : {"plot", "graph"}) {
            const Result run =
                Tool(command + std::string(" \"$PROFILES\"/games_7_1.json --channels 8") + end);
            ASSERT_EQ(run.status, 0) << run.error;
            EXPECT_EQ(run.error, "");
            EXPECT_TRUE(Read(std::string("picture.") + form).starts_with(begin)) << command;
        }
    }
    const Result plot = Shell("PATH=/nowhere \"$QUORVEL\" plot \"$PROFILES\"/games.json -o a.svg");
    EXPECT_EQ(plot.status, 3);
    ExpectTold(plot.error, "gnuplot-nox");
    const Result graph =
        Shell("PATH=/nowhere \"$QUORVEL\" graph \"$PROFILES\"/games.json -o a.svg");
    EXPECT_EQ(graph.status, 3);
    ExpectTold(graph.error, "package graphviz");
    EXPECT_EQ(Names().count("a.svg"), 0u);
    EXPECT_EQ(Tool("plot \"$PROFILES\"/games.json -o a.txt").status, 2);
    EXPECT_EQ(Tool("plot \"$PROFILES\"/games.json -o a.svg --only 3").status, 2);
}

TEST_F(Drawn, GraphHasOrderWidthsBuffersAndWhatTheGraphMade) {
    const Result run = Tool("graph \"$PROFILES\"/branching.json -o graph.dot --channels 6");
    ASSERT_EQ(run.status, 0) << run.error;
    const std::string dot = Read("graph.dot");
    for (const char* part :
         {R"(n3 [label="3  warm left\nLowShelfFilterBlock\nbuffer 2")",
          R"(n2 -> n3 [label="   1 channel\n   FC\n   in place", penwidth=3])",
          R"(n8 -> n9 [label="   input 2\n   6 channels\n   FL FR FC LFE SL SR"])",
          R"(a1 [shape=oval, style="filled,dashed", label="widened in its buffer)",
          R"(n11 [label="11  limiter\nLimiterBlock\nwrites the output")",
          R"(n11 -> limiter [label="   2 channels\n   FL FR"])"})
        ExpectTold(dot, part);
    Tool("graph \"$PROFILES\"/games_equaliser.json -o folded.dot --channels 6");
    ExpectTold(Read("folded.dot"),
               R"(n3 [label="3  BypassBlock\nmade by the graph\nwrites the output")");
}

}  // namespace
}  // namespace quorvel::tool
