// Every fault in a JSON profile is told with its place.
#include "tests/tools/profile_fault.h"

namespace quorvel::tool {
namespace {

struct Case {
    const char* json;
    const char* message;  // how the message begins
};

void ExpectFault(const std::string& json, const std::string& message) {
    EXPECT_EQ(Fault(json).substr(0, message.size()), message) << json;
}

std::string Chain(const std::string& content) {
    return R"({"chains": [{"number": 1, )" + content + "}]}";
}

std::string Block(const std::string& content) {
    return Chain(R"("blocks": [{"name": "a", "type": "MixerBlock"}, {"name": "b", )" + content +
                 "}]");
}

constexpr Case kDocuments[] = {
    {"", "line 1, column 1: "},
    {"{\n  \"chains\": [\n", "line 3, column 1: "},
    {"{\"chains\": [], }", "line 1, column 16: "},
    {"{\"chains\": NaN}", "line 1, column 12: "},
    {"{\"paths\": [\"\xFF\"]}", "line 1, column 13: "},
    {"{\"chains\": 1e999}", "line 1, column 16: number overflow"},
    {"[]", "$: must be an object"},
    {"{}", "$.chains: is required"},
    {R"({"chains": [], "chains": []})", "$.chains: this member occurs twice"},
    {R"({"chains": [{"number": 1, "blocks": [{"name": "a", "name": "b"}]}]})",
     "$.chains[0].blocks[0].name: this member occurs twice"},
    {R"({"chains": [], "chain": []})", "$.chain: unknown key"},
    {R"({"chains": [], "a b": []})", "$[\"a b\"]: unknown key"},
    {R"({"chains": {}})", "$.chains: must be an array"},
    {R"({"id": "{123}", "chains": []})", "$.id: must be a GUID"},
    {R"({"paths": [""], "chains": []})", "$.paths[0]: must not be empty"},
    {R"({"paths": ["a", "b\u0000"], "chains": []})", "$.paths[1]: must not contain U+0000"},
    {R"({"paths": [{"data": "6100f"}], "chains": []})", "$.paths[0].data: must be pairs"},
    {R"({"chains": [{"number": -1, "blocks": []}]})", "$.chains[0].number: must be a whole"},
    {R"({"chains": [{"number": 1.5, "blocks": []}]})", "$.chains[0].number: must be a whole"},
    {R"({"chains": [{"number": 1}]})", "$.chains[0].blocks: is required"},
    {R"({"chains": [{"number": 1, "blocks": []}, {"number": 1, "blocks": []}]})",
     "$.chains[1].number: another chain has this number"},
};

constexpr Case kBlocks[] = {
    {R"("type": "NoBlock")", ".type: unknown block type \"NoBlock\""},
    {R"("data": "00")", ".type: is required"},
    {R"("type": "GainBlock", "name2": 1)", ".name2: unknown key"},
    {R"("type": "GainBlock", "parameters": {}, "data": "")", ".data: stands beside parameters"},
    {R"("type": "GainBlock", "data": "0")", ".data: must be pairs of hexadecimal digits"},
    {R"("type": "GainBlock", "data": "0g")", ".data: must be pairs of hexadecimal digits"},
    {R"("type": "{796C5F35-FBCB-4DC8-91CC-93829ECD4FE3}", "parameters": {})",
     ".parameters: this kind of block takes data"},
    {R"("type": "GainBlock", "parameters": [])", ".parameters: must be an object"},
    {R"("type": "GainBlock", "parameters": {"gain": 1})", ".parameters.gain: unknown key"},
    {R"("type": "GainBlock", "parameters": {"gainDb": "1"})",
     ".parameters.gainDb: must be a number"},
    {R"("type": "GainBlock", "parameters": {"gainDb": 60.5})",
     ".parameters.gainDb: must be in the range -144 to 60 dB"},
    {R"("type": "LimiterBlock", "parameters": {"attackMs": 1.5})",
     ".parameters.attackMs: must be a whole number, 0 to 1000 ms"},
    {R"("type": "CompressorBlock", "parameters": {"ratio": 0})",
     ".parameters.ratio: must be in the range 0.001 to 100"},
    {R"("type": "LowPassFilterBlock")", ".parameters.bands: is required"},
    {R"("type": "LowPassFilterBlock", "parameters": {"bands": []})",
     ".parameters.bands: must have 1 to 1024 items"},
    {R"("type": "LowPassFilterBlock", "parameters": {"bands": [{"frequency": 0, "width": 1}]})",
     ".parameters.bands[0].frequency: must be in the range 1 to 192000 Hz"},
    {R"("type": "PeakingEQFilterBlock", "parameters": {"bands": [{"frequency": 9, "width": 1}]})",
     ".parameters.bands[0].gainDb: is required"},
    {R"("type": "NotchFilterBlock", "parameters":
        {"bands": [{"frequency": 9, "width": 1, "widthMode": 1}]})",
     ".parameters.bands[0].widthMode: must be one of \"Q\", \"Octaves\", \"ShelfSlope\""},
    {R"("type": "ExternalSurroundBlock", "parameters": {"customAngles": [0, 0, 0, 0, 0, 0, 0]})",
     ".parameters.customAngles: must have 8 items"},
    {R"("type": "ExternalSurroundBlock", "parameters":
        {"customAngles": [0, 0, 0, 0, 0, 0, 0, 181]})",
     ".parameters.customAngles[7]: must be in the range -180 to 180 degrees"},
    {R"("type": "StereoExpanderBlock", "parameters": {})", ".parameters.lowPassBand: is required"},
    {R"("type": "StereoExpanderBlock", "parameters": {"lowPassBand": {"frequency": 9}})",
     ".parameters.lowPassBand.width: is required"},
    {R"("type": "ChannelsCombinerBlock", "parameters": {"channelOffsets": [0, 8]})",
     ".parameters.channelOffsets[1]: must be in the range -1 to 7"},
};

constexpr Case kChains[] = {
    {R"("blocks": [{"type": "GainBlock"}])", ".blocks[0].name: is required"},
    {R"("blocks": [{"name": "", "type": "GainBlock"}])", ".blocks[0].name: must not be empty"},
    {R"("blocks": [{"name": "a", "type": "GainBlock"}, {"name": "a", "type": "GainBlock"}])",
     ".blocks[1].name: another block of the chain is called \"a\""},
    {R"("blocks": [{"name": "a", "type": "GainBlock",
                    "id": "{796C5F35-FBCB-4DC8-91CC-93829ECD4FE3}"},
                   {"name": "b", "type": "GainBlock",
                    "id": "796c5f35-fbcb-4dc8-91cc-93829ecd4fe3"}])",
     ".blocks[1].id: another block of the chain has this id"},
    {R"("blocks": [{"name": "a", "type": "GainBlock"}], "links": [["a"]])",
     ".links[0]: must be a pair of blocks"},
    {R"("blocks": [{"name": "a", "type": "GainBlock"}], "links": [["a", "b"]])",
     ".links[0][1]: no block of the chain is called \"b\""},
};

TEST(ProfileFaults, AreToldWithTheirPlace) {
    for (const auto& [json, message] : kDocuments)
        ExpectFault(json, message);
    for (const auto& [json, message] : kChains)
        ExpectFault(Chain(json), std::string("$.chains[0]") + message);
    for (const auto& [json, message] : kBlocks)
        ExpectFault(Block(json), std::string("$.chains[0].blocks[1]") + message);
}

TEST(ProfileFaults, DeepNestingIsRefusedWhateverItsDepth) {
    for (const std::size_t depth : {33u, 10000000u}) {
        ExpectFault(std::string(depth, '['), "$[0][0][0]");
        EXPECT_NE(Fault(std::string(depth, '[')).find("nested deeper than 32"), std::string::npos);
    }
    ExpectFault(std::string(32, '[') + std::string(32, ']'), "$: must be an object");
}

}  // namespace
}  // namespace quorvel::tool
