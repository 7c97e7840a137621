#include "apo/registration/registration_records.h"

#include <algorithm>
#include <string_view>

#include "apo/class_ids.h"
#include "base/wide_text.h"
#include "platform/code_sections.h"

namespace quorvel {
namespace {

constexpr platform::WideLiteral kCopyright("Copyright (c) Quorvel");
constexpr platform::WideLiteral kLfxOutName("Quorvel Audio Processing Output Stream Object 2.2.20");
constexpr platform::WideLiteral kGfxOutName(
    "Quorvel Audio Processing Output Endpoint Object 2.2.20");
constexpr platform::WideLiteral kLfxInName("Quorvel Audio Processing Input Stream Object 2.2.20");
constexpr platform::WideLiteral kGfxInName("Quorvel Audio Processing Input Endpoint Object 2.2.20");

// Input and output may differ in width, so samples per frame need not match.
constexpr auto kFlags = static_cast<APO_FLAG>(
    APO_FLAG_INPLACE | APO_FLAG_FRAMESPERSECOND_MUST_MATCH | APO_FLAG_BITSPERSAMPLE_MUST_MATCH);
static_assert(kFlags == 13);

template <std::size_t Units>
constexpr void CopyText(std::basic_string_view<WCHAR> text, WCHAR (&field)[Units]) {
    std::copy_n(text.begin(), std::min(text.size(), Units - 1), field);
}

constexpr APO_REG_PROPERTIES Record(const CLSID& classId, const IID& interfaceId,
                                    std::basic_string_view<WCHAR> name) {
    APO_REG_PROPERTIES record{
        .clsid = classId,
        .Flags = kFlags,
        .szFriendlyName = {},
        .szCopyrightInfo = {},
        .u32MajorVersion = 2,
        .u32MinorVersion = 2,
        .u32MinInputConnections = 1,
        .u32MaxInputConnections = 1,
        .u32MinOutputConnections = 1,
        .u32MaxOutputConnections = 1,
        .u32MaxInstances = 0xFFFFFFFF,
        .u32NumAPOInterfaces = 1,
        .iidAPOInterfaceList = {interfaceId},
    };
    CopyText(name, record.szFriendlyName);
    CopyText(kCopyright.text, record.szCopyrightInfo);
    return record;
}

}  // namespace

QUORVEL_RT_DATA APO_REG_PROPERTIES lfxOutRegistration =
    Record(class_id::kLfxOut, interface_id::kLfxOut, kLfxOutName.text);
QUORVEL_RT_DATA APO_REG_PROPERTIES gfxOutRegistration =
    Record(class_id::kGfxOut, interface_id::kGfxOut, kGfxOutName.text);
QUORVEL_RT_DATA APO_REG_PROPERTIES lfxInRegistration =
    Record(class_id::kLfxIn, interface_id::kLfxIn, kLfxInName.text);
QUORVEL_RT_DATA APO_REG_PROPERTIES gfxInRegistration =
    Record(class_id::kGfxIn, interface_id::kGfxIn, kGfxInName.text);

std::array<const APO_REG_PROPERTIES*, 4> RegistrationRecords() {
    return {&lfxOutRegistration, &gfxOutRegistration, &lfxInRegistration, &gfxInRegistration};
}

}  // namespace quorvel
