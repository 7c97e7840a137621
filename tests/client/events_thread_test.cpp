// The events thread: records delivered, removal answered, ends met.
#include <time.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>

#include "tests/client/client_bench.h"
#include "tests/support/byte_builder.h"
#include "tests/support/fake_device.h"

namespace quorvel::test {
namespace {

using simulation::kEventRead;

constexpr std::uint64_t kTime = 0x01D0A1B2C3D4E5F6;

class EventsThread : public ClientTest {
  protected:
    void TearDown() override {
        device.reset();
        ClientTest::TearDown();
    }

    Recorder listener;
    std::optional<QuorvelAudioDevice> device{std::in_place};
};

// The zone of local time, for its lifetime.
class TimeZone {
  public:
    explicit TimeZone(const char* name) { Set(name); }
    ~TimeZone() { Set(before ? before->c_str() : nullptr); }

  private:
    static void Set(const char* name) {
        name ? setenv("TZ", name, 1) : unsetenv("TZ");
        tzset();
    }
    static std::optional<std::string> Present() {
        const char* const name = std::getenv("TZ");
        return name ? std::optional<std::string>(name) : std::nullopt;
    }
    const std::optional<std::string> before = Present();
};

ByteBuilder& Record(ByteBuilder& stream, std::uint32_t event, std::uint32_t claimed,
                    std::size_t size, std::uint64_t time = kTime) {
    stream.Number(event).Number(claimed).Number(time, 8);
    stream.bytes.resize(stream.bytes.size() + size);
    return stream;
}

TEST_F(EventsThread, DeliversTheRecordsOfOneRead) {
    const TimeZone zone("XYZ-3:30");
    ByteBuilder stream;
    Record(Record(Record(stream, 29, 4, 4), 33, 0, 0), 24, 0, 0, ~0ull);
    ASSERT_EQ(device->Open(kPath, &listener), 0u);
    Core().Misbehave({.code = kEventRead, .answer = stream.bytes});
    const auto heard = listener.WaitFor(3);
    EXPECT_EQ(heard[0].kind, QuorvelDriverEvents::BlockAdded);
    EXPECT_EQ(heard[1].kind, QuorvelDriverEvents::LinkRemoved);
    EXPECT_EQ(heard[1].data - heard[0].data, 20) << "36 bytes behind the first record's start";
    const SYSTEMTIME& time = heard[0].time;
    const WORD fields[] = {time.wYear, time.wMonth,  time.wDay,    time.wDayOfWeek,
                           time.wHour, time.wMinute, time.wSecond, time.wMilliseconds};
    const WORD local[] = {2015, 6, 8, 1, 9, 47, 15, 550};
    EXPECT_TRUE(std::ranges::equal(fields, local));
    EXPECT_EQ(heard[2].time.wYear, 0) << "a stamp that is no time";
}

TEST_F(EventsThread, IgnoresRecordsThatReachBeyondTheRead) {
    const struct {
        const char* what;
        std::uint32_t claimed;
        std::size_t size, cut;
    } rows[] = {{"payload cut off", 4, 3, 0},       {"size that wraps", 0xFFFFFFF0, 8, 0},
                {"largest size", 0xFFFFFFFF, 8, 0}, {"payload of another read", 1020, 8, 0},
                {"header cut off", 0, 0, 1},        {"nothing", 0, 0, 16}};
    ASSERT_EQ(device->Open(kPath, &listener), 0u);
    std::size_t events = 0;
    for (const auto& row : rows) {
        ByteBuilder stream;
        Record(Record(stream, 25, 0, 0), 99, row.claimed, row.size);
        stream.bytes.resize(stream.bytes.size() - row.cut);
        for (const auto& bytes : {stream.bytes, std::vector<std::byte>{}})
            Core().Misbehave({.code = kEventRead, .answer = bytes});
        events += 1;
        listener.WaitFor(events);
        Core().AddProcess(1, u"a");
        events += 1;
        const auto heard = listener.WaitFor(events);
        ASSERT_EQ(heard.size(), events) << row.what;
        EXPECT_EQ(static_cast<int>(heard[events - 2].kind), 25) << row.what;
        EXPECT_EQ(static_cast<int>(heard[events - 1].kind), 24) << row.what;
    }
}

// The buffer has 1024 bytes, whatever count the system tells.
TEST_F(EventsThread, IgnoresRecordsThatReachBeyondTheBuffer) {
    const auto fake = std::make_shared<FakeDevice>();
    platform::RegisterDevice(u"\\\\?\\Fake", fake);
    fake->answer = [](DWORD, auto, auto, DWORD&) { return 31u; };
    ASSERT_EQ(device->Open(u"\\\\?\\Fake", &listener), 0u);
    ByteBuilder lie, honest;
    Record(lie, 99, 1100, 1008);
    Record(honest, 24, 0, 0);
    EXPECT_TRUE(fake->Take()->Complete(0, lie.bytes, 5000));
    std::shared_ptr<platform::DeviceRequest> next;
    while (!(next = fake->Take()))
        std::this_thread::yield();
    EXPECT_TRUE(next->CompleteWith(honest.bytes));
    const auto heard = listener.WaitFor(1);
    ASSERT_EQ(heard.size(), 1u);
    EXPECT_EQ(static_cast<int>(heard[0].kind), 24);
    device->Close();
    platform::UnregisterDevice(u"\\\\?\\Fake");
}

// A listener reads an event's ids however small a payload the driver claims.
TEST_F(EventsThread, IgnoresRecordsWhoseIdsWouldLieBeyondTheBuffer) {
    ASSERT_EQ(device->Open(kPath, &listener), 0u);
    std::size_t events = 0;
    for (const auto& [kind, ids] : {std::pair{25u, 16u}, std::pair{29u, 60u}}) {
        for (const std::uint32_t start : {1024 - ids, 1025 - ids, 1024u}) {
            ByteBuilder stream;
            const std::uint32_t filling = start - 2 * 16;
            Record(Record(stream, 99, filling, filling), kind, 0, 0);
            Core().Misbehave({.code = kEventRead, .answer = stream.bytes});
            Core().AddProcess(1, u"a");
            events += start + ids <= 1024 ? 3 : 2;
            EXPECT_EQ(static_cast<int>(listener.WaitFor(events).back().kind), 24);
            EXPECT_EQ(listener.WaitFor(0).size(), events) << kind << " at " << start;
        }
    }
}

// Two clients send requests, from outside and from the callback, while thousands of events come,
// some to reads that wait, some to reads that complete at once.
TEST_F(EventsThread, LosesNoneWhileRequestsRun) {
    struct Asker : Recorder {
        QuorvelAudioDevice* device = nullptr;
        std::atomic<bool> isJoined = true;
        void OnQuorvelAudioDeviceEvent(SYSTEMTIME time, QuorvelDriverEvents kind,
                                       void* data) override {
            if (CoInitializeEx(nullptr, COINIT_MULTITHREADED) != S_FALSE) isJoined = false;
            CoUninitialize();
            _QuorvelChannelsMaskInfo mask;
            EXPECT_EQ(device->GetChannelMask(&mask), 0u);
            Recorder::OnQuorvelAudioDeviceEvent(time, kind, data);
        }
    } asker;
    asker.device = &*device;
    ASSERT_EQ(device->Open(kPath, &asker), 0u);
    constexpr std::uint32_t kEvents = 3000;
    std::thread source([&] {
        for (std::uint32_t i = 0; i < kEvents; ++i)
            Core().AddProcess(i, u"a");
    });
    for (int i = 0; i < 500; ++i) {
        WCHAR* version = nullptr;
        EXPECT_EQ(device->GetDriverVersion(&version), 0u);
        QuorvelAudioDevice::Free(version);
    }
    source.join();
    EXPECT_EQ(asker.WaitFor(kEvents).size(), kEvents);
    EXPECT_TRUE(asker.isJoined) << "the thread belongs to the multithreaded apartment";
    device->Close();
}

TEST_F(EventsThread, AsksAboutTheRemoval) {
    for (const bool accepts : {false, true}) {
        for (const bool owns : {false, true}) {
            Recorder recorder;
            recorder.acceptsRemoval = accepts;
            driver.reset();
            driver.emplace(kPath);
            QuorvelAudioDevice owner, client;
            ASSERT_EQ(owner.Open(kPath, nullptr), 0u);
            ASSERT_EQ(
                owns ? client.Open(kPath, &recorder) : client.Open(owner.GetHandle(), &recorder),
                0u);
            driver->AnnounceRemoval();
            recorder.WaitFor(0, accepts ? 1 : 3);
            if (accepts) {
                while (client.GetHandle() != INVALID_HANDLE_VALUE)
                    std::this_thread::yield();
                EXPECT_EQ(client.ClearProfiles(), 13u);
            } else {
                Core().AddProcess(1, u"a");
                EXPECT_EQ(recorder.WaitFor(1).size(), 1u) << "events go on";
                EXPECT_EQ(client.ClearProfiles(), 0u);
            }
            client.Close();
            EXPECT_EQ(owner.ClearProfiles(), 0u) << "what was borrowed stays open";
        }
    }
}

TEST_F(EventsThread, WithoutTheRemovalEventNobodyAsks) {
    for (const simulation::Misbehaviour& fault :
         {simulation::Misbehaviour{.code = 0x226F0C, .refuse = 31},
          simulation::Misbehaviour{.code = 0x226F0C, .patches = {{0, 0x00780078}}}}) {
        Core().Misbehave(fault);
        EXPECT_EQ(device->Open(kPath, &listener), 0u);
        EXPECT_EQ(device->GetError(), fault.refuse.value_or(0));
        driver->AnnounceRemoval();
        const std::size_t before = listener.WaitFor(0).size();
        Core().AddProcess(1, u"a");
        listener.WaitFor(before + 1);
        EXPECT_EQ(listener.Removals(), 0);
    }
}

TEST_F(EventsThread, AFailedFirstReadFailsTheOpening) {
    Core().Misbehave({.code = kEventRead, .times = 2, .refuse = 31});
    EXPECT_EQ(device->Open(kPath, &listener), 31u);
    EXPECT_EQ(device->GetHandle(), INVALID_HANDLE_VALUE);
    QuorvelAudioDevice owner;
    ASSERT_EQ(owner.Open(kPath, nullptr), 0u);
    EXPECT_EQ(device->Open(owner.GetHandle(), &listener), 31u);
    EXPECT_EQ(device->ClearProfiles(), 0u) << "an adopted handle stays in use";
    EXPECT_EQ(device->Open(kPath, &listener), 0u) << "and the next opening is a fresh one";
    Core().AddProcess(1, u"a");
    EXPECT_GE(listener.WaitFor(1).size(), 1u);
    Core().Misbehave({.code = kEventRead, .refuse = 31});
    EXPECT_EQ(device->ClearProfiles(), 0u) << "a later failure ends the thread silently";
}

TEST_F(EventsThread, CloseEndsItInEveryState) {
    const std::function<void()> states[] = {
        [] {},
        [&] { Core().AddProcess(1, u"a"); },
        [&] { Core().Misbehave({.code = kEventRead, .refuse = 31}); },
        [&] {
            Core().Misbehave({.code = kEventRead, .silent = true});
            Core().AddProcess(1, u"a");
        },
        [&] { driver->AnnounceRemoval(); },
        [&] { Core().Misbehave({.code = kEventRead, .times = 100'000, .answer = {{}}}); },
        [&] { driver->Remove(); },
    };
    for (const auto& enter : states) {
        ASSERT_EQ(device->Open(kPath, &listener), 0u);
        enter();
        device->Close();
        EXPECT_EQ(device->GetHandle(), INVALID_HANDLE_VALUE);
        Core().Behave();
        device->Close();
    }
    EXPECT_EQ(device->Open(kPath, &listener), ERROR_FILE_NOT_FOUND);
}

// Clients come and go while profiles change; drivers go while clients ask.
TEST_F(EventsThread, StormOfOpeningsAndRemovals) {
    for (int round = 0; round < 20; ++round) {
        driver.reset();
        driver.emplace(kPath);
        const auto storm = [&](std::uint32_t number) {
            Recorder recorder;
            recorder.acceptsRemoval = number % 2 == 0;
            QuorvelAudioDevice client;
            QuorvelAudioProfile profile;
            FillSample(profile);
            profile.id = NumberedGuid(number);
            for (int i = 0; i < 15; ++i) {
                const DWORD opened = client.Open(kPath, &recorder);
                EXPECT_TRUE(opened == 0 || opened == ERROR_FILE_NOT_FOUND || opened == 1617)
                    << opened;
                client.SetProfileData(&profile);
                client.GetProfileData(&profile);
                if (i % 3 == 0) client.Close();
            }
        };
        std::vector<std::thread> threads;
        for (std::uint32_t number = 1; number <= 3; ++number)
            threads.emplace_back(storm, number);
        std::this_thread::sleep_for(std::chrono::milliseconds(round % 5));
        driver->Remove();
        for (std::thread& thread : threads)
            thread.join();
    }
}

}  // namespace
}  // namespace quorvel::test
