#include "platform/simulation/simulated_headset.h"

#include <cstring>

#include "platform/clock.h"
#include "platform/interface_ids.h"

namespace quorvel::simulation {
namespace {

constexpr char16_t kInstanceId[] = u"USB\\VID_1B5C&PID_0042\\HEADSET";

constexpr GUID kDriverInterface = {
    0x2F7C2172, 0x852F, 0x4ABF, {0xB2, 0x5C, 0xF0, 0xF3, 0x50, 0x93, 0xA0, 0x86}};

// The engine's record of a stream: its client's process id comes 12 bytes behind where one of its
// frames points, the class id of the object a few words later.
constexpr DWORD kStreamRecord = 0x0051'0000;
constexpr DWORD kProcessIdOffset = 12;
constexpr DWORD kClassIdOffset = kProcessIdOffset + 4 + 40;
constexpr std::size_t kStreamRecordSize = 512;

constexpr DWORD kEngineBase = 0x0040'0000;
constexpr DWORD kObjectsBase = 0x1000'0000;
constexpr DWORD kSystemBase = 0x7600'0000;
constexpr DWORD kModuleSize = 0x0010'0000;

std::uint64_t MachineTime() {
    constexpr std::uint64_t kUnitsPerSecond = 10'000'000;  // of 100 ns
    constexpr std::uint64_t kSecondsTo1970 = 11'644'473'600;
    return (static_cast<std::uint64_t>(platform::SecondsSinceEpoch()) + kSecondsTo1970) *
           kUnitsPerSecond;
}

}  // namespace

// Lives as long as the headset, whatever references are held.
class SimulatedHeadset::EnumeratorFactory final : public IClassFactory {
  public:
    explicit EnumeratorFactory(const SimulatedMachine& owner) : machine(owner) {}

    HRESULT QueryInterface(REFIID iid, void** object) override {
        if (!object) return E_POINTER;
        const bool isKnown = iid == interface_id::kUnknown || iid == interface_id::kClassFactory;
        *object = isKnown ? this : nullptr;
        return isKnown ? S_OK : E_NOINTERFACE;
    }
    ULONG AddRef() override { return 1; }
    ULONG Release() override { return 1; }
    HRESULT CreateInstance(IUnknown* outer, REFIID iid, void** object) override {
        return outer ? CLASS_E_NOAGGREGATION : machine.NewEnumerator(iid, object);
    }
    HRESULT LockServer(BOOL) override { return S_OK; }

  private:
    const SimulatedMachine& machine;
};

void SimulatedHeadset::DeleteFactory::operator()(EnumeratorFactory* factory) const {
    delete factory;
}

const std::u16string& SimulatedHeadset::DriverPath() {
    static const std::u16string path =
        u"\\\\?\\usb#vid_1b5c&pid_0042#headset#{2f7c2172-852f-4abf-b25c-f0f35093a086}";
    return path;
}

SimulatedHeadset::SimulatedHeadset(DeviceAnswers answers)
    : driver(DriverPath(), std::move(answers), MachineTime),
      output(machine.AddEndpoint(u"headset-output", eRender, kInstanceId)),
      input(machine.AddEndpoint(u"headset-microphone", eCapture, kInstanceId)),
      enumeratorFactory(new EnumeratorFactory(machine)),
      enumeratorClass(class_id::kDeviceEnumerator, *enumeratorFactory) {
    machine.AddInterface(kDriverInterface, machine.AddNode(kInstanceId), DriverPath());
    machine.AddModule(
        {u"audiodg.exe", u"C:\\Windows\\System32\\audiodg.exe", kEngineBase, kModuleSize});
    machine.AddModule(
        {u"APO.dll", u"C:\\Program Files\\Quorvel\\APO.dll", kObjectsBase, kModuleSize});
    machine.AddModule(
        {u"kernel32.dll", u"C:\\Windows\\System32\\kernel32.dll", kSystemBase, kModuleSize});
}

IMMDeviceCollection* SimulatedHeadset::NewDevices(bool isOutput) const {
    return machine.NewCollection({isOutput ? output : input});
}

void SimulatedHeadset::StartProgram(DWORD process, std::u16string path) {
    driver.Core().AddProcess(process, std::move(path));
}

void SimulatedHeadset::EnterEngine(const CLSID& object, DWORD process) {
    std::byte record[kStreamRecordSize]{};
    std::memcpy(record + kProcessIdOffset, &process, sizeof(process));
    std::memcpy(record + kClassIdOffset, &object, sizeof(object));
    machine.WriteMemory(kStreamRecord, record);
    machine.SetCallStack({{kObjectsBase + 0x100, {}},
                          {kEngineBase + 0x100, {0, 0}},
                          {kEngineBase + 0x200, {0, kStreamRecord}},
                          {kEngineBase + 0x300, {0, 0}},
                          {kSystemBase + 0x100, {}}});
}

}  // namespace quorvel::simulation
