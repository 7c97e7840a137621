#include "profile/text_form.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>

#include "client/quorvel_audio_device.h"
#include "profile/base64.h"
#include "profile/profile_hash.h"
#include "tests/profile/sample_record.h"

namespace quorvel::test {
namespace {

using Bytes = std::vector<std::byte>;

Bytes BytesOf(std::string_view text) {
    Bytes bytes(text.size());
    std::transform(text.begin(), text.end(), bytes.begin(), [](char c) { return std::byte(c); });
    return bytes;
}

std::string Encode(std::span<const std::byte> bytes) {
    std::string text(Base64Length(bytes.size()), '?');
    EncodeBase64(bytes, text.data());
    return text;
}

Bytes Decode(std::string_view text) {
    Bytes bytes(Base64Capacity(text.size()));
    bytes.resize(DecodeBase64(text, bytes.data()));
    return bytes;
}

// The vectors of RFC 4648, section 10, the last two characters of the alphabet, then texts that
// foreign characters or missing ones end.
TEST(Base64, AnswersThePublishedVectorsAndStopsAtTheFirstForeignCharacter) {
    const std::pair<const char*, const char*> cases[] = {{"", ""},
                                                         {"Zg==", "f"},
                                                         {"Zm8=", "fo"},
                                                         {"Zm9v", "foo"},
                                                         {"Zm9vYg==", "foob"},
                                                         {"Zm9vYmE=", "fooba"},
                                                         {"Zm9vYmFy", "foobar"},
                                                         {"++++", "\xFB\xEF\xBE"},
                                                         {"////", "\xFF\xFF\xFF"},
                                                         {"Zm9v\nYmFy", "foo"},
                                                         {"Zm9 vYmFy", "fo"},
                                                         {"Zm=9v", "f"},
                                                         {"Z===", ""},
                                                         {"Zm9vYg", "foob"},
                                                         {"Zm9vYmE", "fooba"},
                                                         {"Zm9vY", "foo"},
                                                         {"Zm9v-mFy", "foo"}};
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const auto& [text, plain] = cases[i];
        EXPECT_EQ(Decode(text), BytesOf(plain)) << text;
        EXPECT_TRUE(i >= 9 || Encode(BytesOf(plain)) == text) << text;
    }
}

TEST(ProfileHash, CountsBytesAsSignedAndIsFastWithoutChange) {
    EXPECT_EQ(HashProfilePlainly({}), 0u);
    EXPECT_EQ(HashProfilePlainly(BytesOf("\x01\x02")), 0x67u);
    EXPECT_EQ(HashProfilePlainly(BytesOf("\xFF")), 0xFFFFFFFFu);
    EXPECT_EQ(HashProfilePlainly(BytesOf("\x80\x01")), 0xFFFFCD81u);
    std::mt19937 random(2);
    Bytes bytes;
    for (int size = 0; size <= 1000; ++size) {
        ASSERT_EQ(HashProfile(bytes), HashProfilePlainly(bytes));
        bytes.push_back(static_cast<std::byte>(random()));
    }
}

// The envelope around `record`, byte by byte; `hash` is added to the true one.
ByteBuilder Envelope(std::span<const std::byte> record, int version, std::uint32_t hash = 0) {
    ByteBuilder bytes;
    bytes.Raw({0xB7, 0xFA, 0xE7, 0x36, 0x5D, 0xAC, 0x22, 0x49});
    bytes.Raw({0x85, 0xC5, 0xB2, 0x8E, 0x1E, 0x50, 0x98, 0x82});
    bytes.Number(static_cast<unsigned>(version), 2).Number(HashProfilePlainly(record) + hash);
    bytes.bytes.insert(bytes.bytes.end(), record.begin(), record.end());
    bytes.Raw({0xD3, 0x87, 0xDF, 0x85, 0xAA, 0x8A, 0xA9, 0x44});
    bytes.Raw({0xA7, 0x9F, 0xB6, 0x9E, 0xF0, 0x16, 0xE7, 0xFE});
    return bytes;
}

std::string TextOf(QuorvelAudioProfile& profile) {
    const char* text = QuorvelAudioDevice::EncodeProfile(&profile);
    const std::string copy = text ? text : "null";
    QuorvelAudioDevice::Free(const_cast<char*>(text));
    return copy;
}

TEST(TextForm, WrapsTheRecordInMarksVersionAndHash) {
    QuorvelAudioProfile profile;
    FillSample(profile);
    EXPECT_EQ(TextOf(profile), Encode(Envelope(SampleRecord(0).Span(), 2).Span()));
    QuorvelAudioProfile empty;
    EXPECT_EQ(TextOf(empty).size(), 128u);
    EXPECT_EQ(TextOf(empty).substr(124), "/g==");  // the last byte is 0xFE
    EXPECT_EQ(QuorvelAudioDevice::EncodeProfile(nullptr), nullptr);
}

struct Faulty {
    const char* what = "";
    std::string text;
    DWORD result = ERROR_INVALID_DATA;
};

TEST(TextForm, AnswersEachFaultWithItsCode) {
    const ByteBuilder record = SampleRecord(0);
    const ByteBuilder record1 = SampleRecord1();
    const ByteBuilder good = Envelope(record.Span(), 2);
    const std::string text = Encode(good.Span());
    const Faulty cases[] = {
        {"version 2", text, ERROR_SUCCESS},
        {"version 1", Encode(Envelope(record1.Span(), 1).Span()), ERROR_SUCCESS},
        {"characters behind the padding", text + "!", ERROR_SUCCESS},
        {"empty", "", ERROR_INVALID_PARAMETER},
        {"no base64", "\n"},
        {"too short", Encode(good.Span().first(37))},
        {"line break inside", std::string(text).insert(60, "\r\n")},
        {"header mark", Encode(ByteBuilder(good).Patch(12, 0).Span())},
        {"trailer mark", Encode(ByteBuilder(good).Patch(good.bytes.size() - 4, 0).Span())},
        {"version 0", Encode(Envelope(record.Span(), 0).Span())},
        {"version 3", Encode(Envelope(record.Span(), 3, 1).Span()), ERROR_UNKNOWN_REVISION},
        {"version 0x102", Encode(Envelope(record.Span(), 0x102).Span()), ERROR_UNKNOWN_REVISION},
        {"no record", Encode(Envelope({}, 2).Span())},
        {"hash", Encode(Envelope(record.Span(), 2, 1).Span())},
        {"version 1 read as 2", Encode(Envelope(record1.Span(), 2).Span())},
    };
    for (const auto& [what, faulty, result] : cases) {
        QuorvelAudioProfile profile;
        EXPECT_EQ(QuorvelAudioDevice::DecodeProfile(faulty.c_str(), &profile), result) << what;
    }
    QuorvelAudioProfile profile;
    EXPECT_EQ(QuorvelAudioDevice::DecodeProfile(nullptr, &profile), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(QuorvelAudioDevice::DecodeProfile(text.c_str(), nullptr),
              DWORD{ERROR_INVALID_PARAMETER});
}

TEST(TextForm, DamageIsSeenBeforeTheProfileChanges) {
    QuorvelAudioProfile profile;
    FillSample(profile);
    const std::string text = TextOf(profile);
    const std::string content = Describe(profile);
    for (std::size_t i = 0; i + 2 < text.size(); ++i) {
        std::string damaged = text;
        damaged[i] = damaged[i] == 'Q' ? 'R' : 'Q';
        EXPECT_NE(QuorvelAudioDevice::DecodeProfile(damaged.c_str(), &profile),
                  DWORD{ERROR_SUCCESS});
        EXPECT_NE(QuorvelAudioDevice::DecodeProfile(text.substr(0, i).c_str(), &profile),
                  DWORD{ERROR_SUCCESS});
    }
    EXPECT_EQ(Describe(profile), content);
}

TEST(CopyString, CopiesUnitsOrGivesNull) {
    const WCHAR source[] = {'x', 0xD800, 0};
    WCHAR* target = nullptr;
    QuorvelAudioDevice::CopyString(target, source);
    ASSERT_NE(target, nullptr);
    EXPECT_NE(target, source);
    EXPECT_EQ(std::memcmp(target, source, sizeof(source)), 0);
    QuorvelAudioDevice::Free(target);
    QuorvelAudioDevice::CopyString(target, nullptr);
    EXPECT_EQ(target, nullptr);
    QuorvelAudioDevice::Free(nullptr);
}

}  // namespace
}  // namespace quorvel::test
