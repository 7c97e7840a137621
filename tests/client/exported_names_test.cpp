// What other programs link against: every member has a definition under its own name, const exactly
// where these names say so, and no field has moved.
#include <algorithm>
#include <cstdio>
#include <functional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/client/client_bench.h"

// Tells where the private fields lie.
struct QuorvelAudioDevicePeer : QuorvelAudioDevice {
    std::vector<const void*> Fields() const {
        return {&device,       &ownsHandle,        &eventsThread,   &stopEvent,   &readEvent,
                &startedEvent, &threadStartResult, &readOverlapped, eventBuffer,  &listener,
                &lastError,    &driverEvent,       &lastReadBytes,  &releaseEvent};
    }
};

namespace quorvel::test {
namespace {

// A class and its members. "C" and "D" are its constructors and its destructor, "A" its
// assignments, S is the class itself, T a list's element.
struct ExportedClass {
    std::string name;
    std::vector<std::string> members;
};

// Of a class that is copied, moved and made of nothing.
const std::vector<std::string> kValueMembers = {"C()",         "C(S const&)", "C(S&&)",
                                                "A(S const&)", "A(S&&)",      "D()"};

const std::vector<std::string> kListMembers = {"Add(T&)",
                                               "Allocate(unsigned int)",
                                               "AllocateMemoryForElements(unsigned int)",
                                               "Clear()",
                                               "Copy(S const&)",
                                               "Count() const",
                                               "Data() const",
                                               "Find(T const&)",
                                               "FindPos(T const&)",
                                               "Get(unsigned int) const",
                                               "Item(unsigned int)",
                                               "Item(unsigned int) const",
                                               "Remove(T&)",
                                               "RemoveAt(unsigned int)",
                                               "Resize(unsigned int)"};

const ExportedClass kClasses[] = {
    {"QuorvelAudioProfile",
     {"GetCookie() const",
      "PathsCount() const",
      "Path(unsigned int) const",
      "AddPath(char16_t const*)",
      "UpdatePath(unsigned int, char16_t const*)",
      "RemovePath(char16_t const*)",
      "RemovePath(unsigned int)",
      "ClearPaths(bool)",
      "GenerateNewID(GUID&)",
      "GenerateNewID()",
      "GetChain(unsigned int, bool)",
      "SetChain(QuorvelAudioBlocksChain&)",
      "RemoveChain(unsigned int)",
      "RemoveChain(QuorvelAudioBlocksChain&)",
      "FindBlock(unsigned int, GUID const&)",
      "RemoveBlock(unsigned int, GUID const&)",
      "RemoveBlockLinks(unsigned int, GUID const&)",
      "GetStringsSize()",
      "GetPackedStringsSize()",
      "GetPackedChainsSize()",
      "AssignProfile()"}},
    {"QuorvelAudioBlocksChain",
     {"C(QuorvelAudioProfile*, unsigned int)", "C(S const&)", "C(S&&)", "A(S const&)", "A(S&&)",
      "D()", "operator==(S const&)", "Profile() const", "FindBlock(GUID const&)",
      "RemoveBlockLinks(GUID const&)", "RemoveBlock(GUID const&)", "GetPackedSize()"}},
    {"QuorvelAudioBlock",
     {"C(QuorvelAudioProfile*, QuorvelAudioBlocksChain*, GUID const&)",
      "C(QuorvelAudioProfile*, QuorvelAudioBlocksChain*, GUID const&, GUID const&)", "C(S const&)",
      "A(S const&)", "D()", "operator==(S const&)", "DataSize() const", "Data() const",
      "GetProfile() const", "SetData(void*, unsigned int)", "ClearData()", "GetPackedSize() const",
      "GetPackedSize_1() const", "Pack(_QuorvelAudioBlockInfo*) const",
      "Unpack(_QuorvelAudioBlockInfo*)", "Unpack_1(void*)"}},
    {"QuorvelAudioBlocksList", {"GetPackedSize()", "Validate()"}},
    {"QuorvelAudioBlocksLinksList", {"GetPackedSize()"}},
    {"QuorvelAudioBlocksChainsList", {"GetPackedSize()"}},
    {"IQuorvelAudioDeviceEventsListener",
     {"C()", "C(S const&)", "A(S const&)",
      "OnQuorvelAudioDeviceEvent(SYSTEMTIME, QuorvelDriverEvents, void*)",
      "OnQuorvelAudioDeviceRemoval()"}},
    {"QuorvelAudioDevice",
     {"C()",
      "C(S const&)",
      "A(S const&)",
      "D()",
      "Open(char16_t const*, IQuorvelAudioDeviceEventsListener*)",
      "Open(void*, IQuorvelAudioDeviceEventsListener*)",
      "Close()",
      "GetHandle() const",
      "GetError() const",
      "GetSetData(unsigned int, void*, unsigned int, void*, unsigned int, "
      "unsigned int*)",
      "CopyString(char16_t*&, char16_t const*)",
      "Free(void*)",
      "OpenDriverEvent(unsigned int, void*&)",
      "EncodeProfile(QuorvelAudioProfile*)",
      "DecodeProfile(char const*, QuorvelAudioProfile*)",
      "SetProfileData(QuorvelAudioProfile*)",
      "GetProfileData(QuorvelAudioProfile*)",
      "GetProfileForPID(unsigned int, QuorvelAudioProfile*)",
      "RemoveProfile(GUID&)",
      "RemoveProfile(QuorvelAudioProfile*)",
      "ClearProfiles()",
      "GetAllProfiles(QuorvelAudioProfilesList*)",
      "SetProfileBlocks(QuorvelAudioProfile*, unsigned int)",
      "GetProfileBlocks(QuorvelAudioProfile*, unsigned int)",
      "SetProfileLinks(QuorvelAudioProfile*, unsigned int)",
      "GetProfileLinks(QuorvelAudioProfile*, unsigned int)",
      "SetProfilePaths(QuorvelAudioProfile*)",
      "GetProfilePaths(QuorvelAudioProfile*)",
      "SetAudioBlock(QuorvelAudioBlock*)",
      "GetAudioBlock(QuorvelAudioBlock*)",
      "RemoveAudioBlock(QuorvelAudioBlock*)",
      "SetProfileLink(_QuorvelAudioBlockLink*)",
      "RemoveProfileLink(_QuorvelAudioBlockLink*)",
      "GetDriverVersion(char16_t**)",
      "GetInterfaceLink(GUID const*, char16_t**)",
      "GetAudioInterface(char16_t**)",
      "GetDataFormatRange(_QuorvelSupportedDataFormats**)",
      "GetChannelMask(_QuorvelChannelsMaskInfo*)",
      "GetProcessPathByPID(unsigned int, char16_t*, unsigned int)",
      "EnableStreamAnalysis(int, int)",
      "SetStreamAnalysisParams(int, unsigned int, float, int, int, unsigned int, unsigned int*)",
      "GetLastFrequenciesInfo(_QuorvelStreamAnalysisData*, int)",
      "PostOpen()",
      "ReleaseDevice()",
      "EventsThread(void*)",
      "EventsThreadInternal()",
      "DoAsyncRead()",
      "ProcessEvents(unsigned int)"}},
};

void Replace(std::string& text, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != text.npos; at += to.size())
        text.replace(at, from.size(), to);
}

// "List<Element>::member" as the linker's tools write it.
std::string FullName(const std::string& name, std::string member, const std::string& element) {
    const std::string shortName = name.substr(0, name.find('<'));
    if (member.starts_with("C(")) member.replace(0, 1, shortName);
    if (member.starts_with("D(")) member.replace(0, 1, "~" + shortName);
    if (member.starts_with("A(")) member.replace(0, 1, "operator=");
    for (const std::string end : {" ", "&"})
        Replace(member, "(S" + end, "(" + name + end);
    Replace(member, "(T", "(" + element);
    return name + "::" + member;
}

// Names that the library defines with one of `kinds` (nm's letters).
std::set<std::string> DefinedNames(const std::string& kinds) {
    std::FILE* const output = popen("nm -C --defined-only " QUORVEL_LIBRARY, "r");
    std::string text;
    char part[4096];
    while (const std::size_t size = std::fread(part, 1, sizeof(part), output))
        text.append(part, size);
    EXPECT_EQ(pclose(output), 0);
    std::set<std::string> names;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        if (line.size() > 19 && kinds.find(line[17]) != kinds.npos) names.insert(line.substr(19));
    return names;
}

TEST(ExportedNames, OfTheClassesAreDefinedAndNotInline) {
    const std::set<std::string> defined = DefinedNames("T");
    for (const ExportedClass& exported : kClasses) {
        for (const std::string& member : exported.members)
            EXPECT_TRUE(defined.contains(FullName(exported.name, member, "")))
                << FullName(exported.name, member, "");
    }
    for (const std::string name :
         {"QuorvelAudioProfile", "QuorvelAudioBlocksList", "QuorvelAudioBlocksLinksList",
          "QuorvelAudioBlocksChainsList", "QuorvelAudioProfilesList", "QuorvelAudioProfileWrapper"})
        for (const std::string& member : kValueMembers)
            EXPECT_TRUE(defined.contains(FullName(name, member, ""))) << FullName(name, member, "");
}

TEST(ExportedNames, OfTheListsAreThereForTheFourElements) {
    const std::set<std::string> defined = DefinedNames("TW");
    for (const std::string element :
         {"QuorvelAudioBlock", "_QuorvelAudioBlockLink", "QuorvelAudioBlocksChain", "GUID"}) {
        const std::string list = "ItemsList<" + element + ">";
        for (const auto* members : {&kValueMembers, &kListMembers})
            for (const std::string& member : *members)
                EXPECT_TRUE(defined.contains(FullName(list, member, element)))
                    << FullName(list, member, element);
    }
}

TEST(ExportedNames, TheDevicesFieldsLieInTheirOrder) {
    const QuorvelAudioDevicePeer peer;
    const auto fields = peer.Fields();
    EXPECT_TRUE(std::ranges::is_sorted(fields, std::less<>()));
    const auto offset = [&](std::size_t field) {
        return static_cast<const char*>(fields[field]) - static_cast<const char*>(fields[0]);
    };
    constexpr std::ptrdiff_t kPointer = sizeof(void*);
    EXPECT_EQ(static_cast<const void*>(fields[0]), reinterpret_cast<const char*>(&peer) + kPointer);
    EXPECT_EQ(offset(1), kPointer) << "the flag behind the handle";
    EXPECT_EQ(offset(2), 2 * kPointer) << "four handles behind the flag";
    EXPECT_EQ(offset(6), 6 * kPointer);
    EXPECT_EQ(offset(9) - offset(8), 1024);
}

}  // namespace
}  // namespace quorvel::test
