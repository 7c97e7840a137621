// Initialize, the format queries and LockForProcess: every result.
#include "apo/registration_records.h"
#include "tests/apo/apo_test.h"

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
    const MediaType odd = MakeType(sixteen);
    EXPECT_EQ(object.Get()->IsOutputFormatSupported(odd.Get(), any.Get(), supported.Receive()),
              S_FALSE);
    EXPECT_FALSE(supported);
    EXPECT_EQ(object.Get()->IsOutputFormatSupported(MakeType(Float(6, 44100)).Get(), any.Get(),
                                                    supported.Receive()),
              S_FALSE);
    UNCOMPRESSEDAUDIOFORMAT told{};
    supported->GetUncompressedAudioFormat(&told);
    EXPECT_EQ(told.fFramesPerSecond, 44100.0f);
    EXPECT_EQ(told.dwSamplesPerFrame, 2u) << "widths may differ";
}

TEST_F(Negotiation, LockTakesOnlyWhatFits) {
    const auto object = Make(class_id::kGfxOut);
    ASSERT_EQ(Initialize(*object.Get(), kClassRows[1]), S_OK);
    EngineStream stream(*object.Get(), 6, 2);
    const MediaType slow = MakeType(Float(2, 44100));
    const struct {
        HRESULT result;
        void (*spoil)(APO_CONNECTION_DESCRIPTOR& in, APO_CONNECTION_DESCRIPTOR& out,
                      IAudioMediaType* other);
        UINT32 inputs = 1;
    } rows[] = {
        {APOERR_NUM_CONNECTIONS_INVALID, [](auto&, auto&, auto*) {}, 0},
        {APOERR_NUM_CONNECTIONS_INVALID, [](auto&, auto&, auto*) {}, 2},
        {E_POINTER, [](auto& in, auto&, auto*) { in.pFormat = nullptr; }},
        {E_POINTER, [](auto&, auto& out, auto*) { out.pFormat = nullptr; }},
        {APOERR_FORMAT_NOT_SUPPORTED, [](auto&, auto& out, auto* other) { out.pFormat = other; }},
        {E_INVALIDARG, [](auto& in, auto&, auto*) { in.u32Signature = 0; }},
        {APOERR_INVALID_OUTPUT_MAXFRAMECOUNT,
         [](auto&, auto& out, auto*) { --out.u32MaxFrameCount; }},
        {S_OK, [](auto&, auto&, auto*) {}},
        {APOERR_APO_LOCKED, [](auto&, auto&, auto*) {}},
    };
    EXPECT_EQ(stream.locker->LockForProcess(1, nullptr, 1, nullptr), E_POINTER);
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        APO_CONNECTION_DESCRIPTOR in{APO_CONNECTION_BUFFER_TYPE_EXTERNAL,
                                     reinterpret_cast<UINT_PTR>(stream.in.data()), 480,
                                     stream.input.Get(), APO_CONNECTION_DESCRIPTOR_SIGNATURE};
        APO_CONNECTION_DESCRIPTOR out = in;
        out.pFormat = stream.output.Get();
        row.spoil(in, out, slow.Get());
        APO_CONNECTION_DESCRIPTOR *inputs[] = {&in, &in}, *outputs[] = {&out};
        EXPECT_EQ(stream.locker->LockForProcess(row.inputs, inputs, 1, outputs), row.result);
    }
    EXPECT_EQ(stream.Unlock(), S_OK);
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

// What no class of the module registers for: equal widths, and buffers apart.
TEST(BaseObject, HoldsConnectionsToItsRegistration) {
    APO_REG_PROPERTIES registration = *RegistrationRecords()[0];
    registration.Flags = static_cast<APO_FLAG>(APO_FLAG_SAMPLESPERFRAME_MUST_MATCH |
                                               APO_FLAG_FRAMESPERSECOND_MUST_MATCH);
    registration.u32MaxInputConnections = 2;
    registration.u32MinOutputConnections = 0;
    PlainObject object(registration);
    EXPECT_EQ(object.Initialize(0, nullptr), S_OK);
    EXPECT_EQ(object.Initialize(0, nullptr), APOERR_ALREADY_INITIALIZED);

    const MediaType stereo = MakeType(Float(2)), surround = MakeType(Float(6, 48000.0f, 0x3F));
    MediaType told;
    EXPECT_EQ(object.IsOutputFormatSupported(surround.Get(), stereo.Get(), told.Receive()),
              S_FALSE);
    UNCOMPRESSEDAUDIOFORMAT format{};
    ASSERT_EQ(told->GetUncompressedAudioFormat(&format), S_OK);
    EXPECT_EQ(format.dwSamplesPerFrame, 6u);
    EXPECT_EQ(format.dwChannelMask, 0x3Fu);

    std::vector<float> one(960), other(960);
    const auto lock = [&](std::vector<float>& outBuffer, const MediaType& second, UINT32 outputs) {
        APO_CONNECTION_DESCRIPTOR in{APO_CONNECTION_BUFFER_TYPE_EXTERNAL,
                                     reinterpret_cast<UINT_PTR>(one.data()), 480, stereo.Get(),
                                     APO_CONNECTION_DESCRIPTOR_SIGNATURE};
        APO_CONNECTION_DESCRIPTOR in2 = in, out = in;
        in2.pFormat = second.Get();
        out.pBuffer = reinterpret_cast<UINT_PTR>(outBuffer.data());
        APO_CONNECTION_DESCRIPTOR *ins[] = {&in, &in2}, *outs[] = {&out};
        return object.LockForProcess(outputs == 0 ? 2 : 1, ins, outputs, outs);
    };
    EXPECT_EQ(lock(one, stereo, 1), APOERR_BUFFERS_OVERLAP);
    EXPECT_EQ(lock(other, surround, 0), APOERR_INVALID_CONNECTION_FORMAT);
    EXPECT_EQ(lock(other, stereo, 1), S_OK);
    UINT32 width = 0;
    EXPECT_EQ(object.GetInputChannelCount(&width), S_OK);
    EXPECT_EQ(width, 2u);
}

}  // namespace
}  // namespace quorvel::test
