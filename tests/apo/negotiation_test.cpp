// Initialize, the format queries and LockForProcess: every result.
#include <cmath>
#include <random>
#include <sstream>

#include "apo/registration/registration_records.h"
#include "tests/apo/apo_test.h"
#include "tests/apo/negotiation_model.h"

namespace quorvel::test {
namespace {

using Negotiation = ApoTest;
using platform::MachineStep;

constexpr HRESULT Failed(DWORD error) {
    return HRESULT_FROM_WIN32(error);
}

TEST_F(Negotiation, InitializeTellsWhatIsMissing) {
    const auto object = Make(class_id::kLfxOut);
    BYTE data[64]{};
    UINT32 channels = 0;
    EXPECT_EQ(object.Get()->Initialize(0, nullptr), E_INVALIDARG);
    EXPECT_EQ(object.Get()->Initialize(36, nullptr), E_INVALIDARG);
    EXPECT_EQ(object.Get()->Initialize(0, data), E_POINTER);
    EXPECT_EQ(object.Get()->Initialize(40, data), E_INVALIDARG);
    EXPECT_EQ(object.Get()->GetInputChannelCount(&channels), APOERR_NOT_INITIALIZED);
    APOInitSystemEffects record{};
    EXPECT_EQ(object.Get()->Initialize(sizeof(record), reinterpret_cast<BYTE*>(&record)),
              Failed(ERROR_NOT_FOUND))
        << "no devices";

    const struct {
        simulation::Misbehaviour fault;
        HRESULT result;
    } rows[] = {
        {{.code = simulation::kEventRead, .refuse = 31}, Failed(31)},
        {{.code = 0x226F14, .patches = {{0, 0}}}, Failed(ERROR_INVALID_STATE)},
        {{.code = 0x22B6FC, .refuse = 0x80004005}, E_FAIL},
        {{.code = 0x22B6FC, .refuse = 50}, Failed(50)},
        {{.code = 0x226F70, .refuse = 31}, S_OK},  // no profile is no failure
    };
    for (const auto& row : rows) {
        const auto fresh = Make(class_id::kLfxOut);
        Core().Misbehave(row.fault);
        EXPECT_EQ(Initialize(*fresh.Get(), kClassRows[0]), row.result);
        Core().Behave();
        EXPECT_EQ(Initialize(*fresh.Get(), kClassRows[0]), S_OK) << "a second time is not refused";
        EXPECT_EQ(fresh.Get()->GetInputChannelCount(nullptr), E_POINTER);
        EXPECT_EQ(fresh.Get()->GetInputChannelCount(&channels), S_OK);
        EXPECT_EQ(channels, 0u) << "the registration does not ask for it";
    }
}

TEST_F(Negotiation, InputFormatsAreBentToTheOpposite) {
    const UNCOMPRESSEDAUDIOFORMAT none{};
    auto sixteen = Float(2);
    sixteen.dwBytesPerSampleContainer = 2;
    sixteen.dwValidBitsPerSample = 16;
    const struct {
        UNCOMPRESSEDAUDIOFORMAT opposite, requested;  // no samples: no opposite
        HRESULT result;
        UNCOMPRESSEDAUDIOFORMAT suggested;
    } rows[] = {
        {Float(2), Float(2), S_OK, Float(2)},
        {Float(2, 44100), Float(2), S_FALSE, Float(2, 44100)},
        {Float(2), sixteen, S_FALSE, Float(2)},
        {Float(2), Float(6, 48000, 0x707), S_OK, Float(6, 48000, 0x707)},
        {Float(2), Float(6, 48000, 0x3), S_FALSE, Float(6, 48000, 0x60F)},
        {Float(2), Float(9), APOERR_FORMAT_NOT_SUPPORTED, none},
        {none, Float(9), S_OK, Float(9)},
        {none, Float(6, 48000, 0x3), S_OK, Float(6, 48000, 0x3)},
        {none, Float(2, 400000), S_FALSE, Float(2, 384000)},
        {none, Float(5000, 5), S_FALSE, Float(4096, 10)},
        {sixteen, Float(2), APOERR_FORMAT_NOT_SUPPORTED, none},
    };
    const auto object = Make(class_id::kGfxOut);
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        MediaType opposite, supported;
        if (row.opposite.dwSamplesPerFrame) opposite = MakeType(row.opposite);
        const MediaType requested = MakeType(row.requested);
        EXPECT_EQ(object.Get()->IsInputFormatSupported(opposite.Get(), requested.Get(),
                                                       supported.Receive()),
                  row.result);
        EXPECT_EQ(supported.Get() == requested.Get(), row.result == S_OK);
        if (FAILED(row.result)) continue;
        UNCOMPRESSEDAUDIOFORMAT told{};
        supported->GetUncompressedAudioFormat(&told);
        EXPECT_EQ(std::memcmp(&told, &row.suggested, sizeof(told)), 0);
    }
    MediaType any = MakeType(Float(2)), supported;
    EXPECT_EQ(object.Get()->IsInputFormatSupported(any.Get(), nullptr, supported.Receive()),
              E_POINTER);
    EXPECT_EQ(object.Get()->IsOutputFormatSupported(nullptr, any.Get(), nullptr), E_POINTER);
}

// The base class with a registration of its own, on the stack.
class PlainObject final : public CBaseAudioProcessingObject {
  public:
    using CBaseAudioProcessingObject::CBaseAudioProcessingObject;
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    void STDMETHODCALLTYPE APOProcess(UINT32, APO_CONNECTION_PROPERTY**, UINT32,
                                      APO_CONNECTION_PROPERTY**) QUORVEL_REAL_TIME override {}
};

// A generator of formats: usual ones, and each field now and then beyond what objects process.
class Formats {
  public:
    explicit Formats(std::uint32_t seed) : random(seed) {}

    model::Format Next() {
        static constexpr DWORD kMasks[] = {0,     0x1,   0x3,   0x4,  0x7,  0xB,
                                           0xF,   0x33,  0x37,  0x3B, 0x3F, 0x60F,
                                           0x707, 0x70F, 0x637, 0xF7, 0xFF, 0x63F};
        static constexpr DWORD kBits[][2] = {{2, 16}, {3, 24}, {4, 24}, {8, 64}};
        static constexpr float kRates[] = {5.0f, 10.0f, 44100.0f, 384000.0f, 400000.0f, NAN};
        model::Format format = Float(Die(10), 48000.0f, Of(kMasks));
        if (Die(2) == 0) format.dwChannelMask = 0;
        if (Die(12) == 0) format.dwSamplesPerFrame = Die(2) ? 4096 : 4097;
        if (Die(4) == 0) format.fFramesPerSecond = Of(kRates);
        if (Die(8) == 0) {
            const auto& bits = Of(kBits);
            format.dwBytesPerSampleContainer = bits[0];
            format.dwValidBitsPerSample = bits[1];
        }
        if (Die(12) == 0) format.guidFormatType.Data1 = 1;  // PCM
        return format;
    }

    std::uint32_t Die(std::uint32_t faces) { return static_cast<std::uint32_t>(random() % faces); }

  private:
    template <typename Value, std::size_t count>
    const Value& Of(const Value (&values)[count]) {
        return values[random() % count];
    }

    std::mt19937 random;
};

std::string Text(const std::optional<model::Format>& format) {
    if (!format) return "none";
    std::ostringstream text;
    text << format->dwSamplesPerFrame << " channels, mask " << std::hex << format->dwChannelMask
         << std::dec << ", " << format->dwBytesPerSampleContainer << " bytes, "
         << format->dwValidBitsPerSample << " bits, " << format->fFramesPerSecond << " Hz, kind "
         << format->guidFormatType.Data1;
    return text.str();
}

// Holds one query against the model's answer.
template <typename Query>
void ExpectAnswer(const std::optional<model::Format>& opposite, const model::Format& requested,
                  const model::Answer& expected, Query&& query) {
    SCOPED_TRACE(Text(requested) + "; opposite: " + Text(opposite));
    MediaType from, answer;
    if (opposite) from = MakeType(*opposite);
    const MediaType asked = MakeType(requested);
    EXPECT_EQ(query(from.Get(), asked.Get(), answer.Receive()), expected.result);
    EXPECT_EQ(static_cast<bool>(answer), expected.format.has_value());
    EXPECT_EQ(answer.Get() == asked.Get(), expected.result == S_OK);
    if (!answer || !expected.format) return;
    model::Format told{};
    EXPECT_EQ(answer->GetUncompressedAudioFormat(&told), S_OK);
    EXPECT_EQ(Text(told), Text(*expected.format));
}

TEST_F(Negotiation, QueriesAnswerAsTheModel) {
    const auto object = Make(class_id::kGfxOut);
    Formats formats(1);
    for (int i = 0; i < 6000; ++i) {
        const model::Format requested = formats.Next();
        std::optional<model::Format> opposite;
        if (formats.Die(4) > 0) opposite = formats.Next();
        ExpectAnswer(opposite, requested, model::Input(opposite, requested), [&](auto*... types) {
            return object.Get()->IsInputFormatSupported(types...);
        });
        ExpectAnswer(
            opposite, requested, model::Core(opposite, requested, 13),
            [&](auto*... types) { return object.Get()->IsOutputFormatSupported(types...); });
    }
}

TEST(BaseObject, QueriesAnswerAsTheModelUnderEveryFlag) {
    Formats formats(2);
    for (DWORD flags = 0; flags < 16; ++flags) {
        APO_REG_PROPERTIES registration = *RegistrationRecords()[0];
        registration.Flags = static_cast<APO_FLAG>(flags);
        PlainObject object(registration);
        for (int i = 0; i < 300; ++i) {
            const model::Format requested = formats.Next();
            std::optional<model::Format> opposite;
            if (formats.Die(4) > 0) opposite = formats.Next();
            const model::Answer expected = model::Core(opposite, requested, flags);
            ExpectAnswer(opposite, requested, expected,
                         [&](auto*... types) { return object.IsInputFormatSupported(types...); });
            ExpectAnswer(opposite, requested, expected,
                         [&](auto*... types) { return object.IsOutputFormatSupported(types...); });
        }
    }
}

// The descriptors of one side of a lock, as an engine hands them over.
struct Descriptors {
    explicit Descriptors(const model::Side& side) {
        for (const model::Connection& connection : side.connections) {
            types.emplace_back();
            if (connection.format) types.back() = MakeType(*connection.format);
            records.push_back({APO_CONNECTION_BUFFER_TYPE_EXTERNAL, connection.buffer,
                               connection.frames, types.back().Get(),
                               connection.isSigned ? APO_CONNECTION_DESCRIPTOR_SIGNATURE : 1u});
        }
        for (APO_CONNECTION_DESCRIPTOR& record : records)
            pointers.push_back(&record);
        array = side.isNullArray ? nullptr : pointers.data();
    }

    std::vector<MediaType> types;
    std::vector<APO_CONNECTION_DESCRIPTOR> records;
    std::vector<APO_CONNECTION_DESCRIPTOR*> pointers;
    APO_CONNECTION_DESCRIPTOR** array = nullptr;
};

// A side of up to three connections, most of them as the engine makes them.
model::Side NextSide(Formats& formats, const model::Format& usual) {
    model::Side side{formats.Die(4) ? 1u : formats.Die(4), formats.Die(20) == 0, {}};
    for (int i = 0; i < 3; ++i) {
        model::Connection connection{usual, formats.Die(12) > 0, 0x10000 + 1920u * formats.Die(4),
                                     480 - formats.Die(2)};
        if (formats.Die(6) == 0) connection.format = formats.Next();
        if (formats.Die(6) == 0) connection.format->dwSamplesPerFrame = formats.Die(10);
        if (formats.Die(16) == 0) connection.format.reset();
        side.connections.push_back(connection);
    }
    return side;
}

TEST(BaseObject, LocksAsTheModelUnderEveryFlag) {
    Formats formats(3);
    std::map<HRESULT, int> results;
    for (int i = 0; i < 12000; ++i) {
        const DWORD flags = formats.Die(16);
        const model::Counts counts{formats.Die(2), 1 + formats.Die(2), formats.Die(2),
                                   1 + formats.Die(2)};
        APO_REG_PROPERTIES registration = *RegistrationRecords()[0];
        registration.Flags = static_cast<APO_FLAG>(flags);
        registration.u32MinInputConnections = counts.leastIn;
        registration.u32MaxInputConnections = counts.mostIn;
        registration.u32MinOutputConnections = counts.leastOut;
        registration.u32MaxOutputConnections = counts.mostOut;
        const model::Format usual = formats.Die(4) ? Float(2) : formats.Next();
        const model::Side in = NextSide(formats, usual), out = NextSide(formats, usual);
        if (in.count == 0 && out.count == 0) continue;

        PlainObject object(registration);
        object.Initialize(0, nullptr);
        Descriptors from(in), to(out);
        const HRESULT expected = model::Lock(in, out, flags, counts);
        ++results[expected];
        ASSERT_EQ(object.LockForProcess(in.count, from.array, out.count, to.array), expected)
            << i << ": flags " << flags << ", " << in.count << " to " << out.count << "\n"
            << Text(in.connections[0].format) << "\n"
            << Text(out.connections[0].format);
        EXPECT_EQ(object.UnlockForProcess(), expected == S_OK ? S_OK : APOERR_ALREADY_UNLOCKED);
        UINT32 width = 9;
        EXPECT_EQ(object.GetInputChannelCount(&width), S_OK);
        if (expected != S_OK) continue;
        const auto& first = in.count > 0 ? in.connections[0].format : out.connections[0].format;
        EXPECT_EQ(width,
                  flags & APO_FLAG_SAMPLESPERFRAME_MUST_MATCH ? first->dwSamplesPerFrame : 0);
    }
    EXPECT_EQ(results.size(), 8u) << "every result was met";
}

// The processing objects keep to the same rules, with their own input query, and are not locked
// when they refuse.
TEST_F(Negotiation, ObjectsLockAsTheModel) {
    const auto object = Make(class_id::kGfxOut);
    ASSERT_EQ(Initialize(*object.Get(), kClassRows[1]), S_OK);
    EngineStream stream(*object.Get(), 2, 2);
    Formats formats(4);
    for (int i = 0; i < 500; ++i) {
        const model::Side in = NextSide(formats, Float(2)), out = NextSide(formats, Float(2));
        HRESULT expected = model::Lock(in, out, 13, {});
        const bool hasPair =
            in.count == 1 && out.count == 1 && !in.LacksFirst() && !out.LacksFirst();
        if (hasPair && model::Input(out.connections[0].format, *in.connections[0].format).result)
            expected = APOERR_FORMAT_NOT_SUPPORTED;
        Descriptors from(in), to(out);
        ASSERT_EQ(stream.locker->LockForProcess(in.count, from.array, out.count, to.array),
                  expected)
            << i;
        EXPECT_EQ(stream.Unlock(), expected == S_OK ? S_OK : APOERR_ALREADY_UNLOCKED);
    }
}

TEST(BaseObject, IsInitializedOnce) {
    PlainObject object(*RegistrationRecords()[0]);
    BYTE byte = 0;
    EXPECT_EQ(object.Initialize(0, &byte), E_POINTER);
    EXPECT_EQ(object.Initialize(1, nullptr), E_INVALIDARG);
    EXPECT_EQ(object.Initialize(0, nullptr), S_OK);
    EXPECT_EQ(object.Initialize(0, nullptr), APOERR_ALREADY_INITIALIZED);
}

}  // namespace
}  // namespace quorvel::test
