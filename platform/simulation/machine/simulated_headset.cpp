#include "platform/simulation/machine/simulated_headset.h"

#include <utility>

#include "platform/clock.h"
#include "platform/simulation/machine/engine_call.h"

namespace quorvel::simulation {
namespace {

constexpr char16_t kInstanceId[] = u"USB\\VID_1B5C&PID_0042\\HEADSET";

constexpr GUID kDriverInterface = {
    0x2F7C2172, 0x852F, 0x4ABF, {0xB2, 0x5C, 0xF0, 0xF3, 0x50, 0x93, 0xA0, 0x86}};

std::uint64_t MachineTime() {
    constexpr std::uint64_t kUnitsPerSecond = 10'000'000;  // of 100 ns
    constexpr std::uint64_t kSecondsTo1970 = 11'644'473'600;
    return (static_cast<std::uint64_t>(platform::SecondsSinceEpoch()) + kSecondsTo1970) *
           kUnitsPerSecond;
}

}  // namespace

const std::u16string& SimulatedHeadset::DriverPath() {
    static const std::u16string path =
        u"\\\\?\\usb#vid_1b5c&pid_0042#headset#{2f7c2172-852f-4abf-b25c-f0f35093a086}";
    return path;
}

SimulatedHeadset::SimulatedHeadset(DeviceAnswers answers)
    : driver(DriverPath(), std::move(answers), MachineTime),
      output(machine.AddEndpoint(u"headset-output", eRender, kInstanceId)),
      input(machine.AddEndpoint(u"headset-microphone", eCapture, kInstanceId)) {
    machine.AddInterface(kDriverInterface, machine.AddNode(kInstanceId), DriverPath());
}

IMMDeviceCollection* SimulatedHeadset::NewDevices(bool isOutput) const {
    return machine.NewCollection({isOutput ? output : input});
}

void SimulatedHeadset::StartProgram(DWORD process, std::u16string path) {
    driver.Core().AddProcess(process, std::move(path));
}

void SimulatedHeadset::EnterEngine(const CLSID& object, DWORD process) {
    StageEngineCall(machine, {.classId = object, .clientProcess = process});
}

}  // namespace quorvel::simulation
