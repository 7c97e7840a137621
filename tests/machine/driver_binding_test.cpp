// The search from the audio engine's devices to the driver: each step that can fail loses only
// what hangs on it, and nothing is held on to.
#include "apo/driver_binding.h"

#include <optional>

#include "apo/com_reference.h"
#include "platform/simulation/machine/simulated_machine.h"
#include "tests/support/handles.h"

namespace quorvel::test {
namespace {

using platform::MachineFaults;
using platform::MachineStep;
using Paths = std::vector<std::u16string>;

constexpr GUID kOtherClass = {0x1234, 1, 2, {3}};

class DriverBindingTest : public HandleBalance {
  protected:
    // The driver's interfaces of three devices, "b" before "a", between such as do not count.
    // Two of the devices are in the engine's collection, beside devices without a node.
    void SetUp() override {
        HandleBalance::SetUp();
        machine.emplace();
        const DWORD a = machine->AddNode(u"USB\\VID_1&MI_0\\a");
        const DWORD b = machine->AddNode(u"USB\\VID_1&MI_1\\b");
        const DWORD c = machine->AddNode(u"USB\\VID_1&MI_2\\c");
        machine->AddInterface(kOtherClass, a, u"other");
        machine->AddInterface(kDriverInterfaceClass, c, u"c");
        machine->AddInterface(kDriverInterfaceClass, a, u"absent", false);
        machine->AddInterface(kDriverInterfaceClass, b, u"b");
        machine->AddInterface(kDriverInterfaceClass, a, u"a");
        devices = {machine->AddEndpoint(u"A", eRender, u"usb\\vid_1&mi_0\\A"),
                   machine->AddEndpoint(u"nameless", eRender, u""),
                   machine->AddEndpoint(u"gone", eRender, u"USB\\VID_1&MI_0"),
                   machine->AddEndpoint(u"long", eRender, std::u16string(4096, u'x')),
                   machine->AddEndpoint(u"B", eCapture, u"USB\\VID_1&MI_1\\b")};
    }
    void TearDown() override {
        EXPECT_EQ(machine->LiveObjects(), 0u);
        machine.reset();
        HandleBalance::TearDown();
    }
    Paths Find() {
        ComReference<IMMDeviceCollection> collection;
        *collection.Receive() = machine->NewCollection(devices);
        return FindDriverDevicePaths(collection.Get());
    }

    std::optional<simulation::SimulatedMachine> machine;
    std::vector<simulation::EndpointNumber> devices;
};

TEST_F(DriverBindingTest, EachFailureLosesWhatHangsOnIt) {
    constexpr auto kAlways = MachineFaults::kAlways;
    constexpr DWORD kFailed = 0x80004005;  // E_FAIL, a failure by every count
    const struct {
        const char* name;
        MachineStep step;
        std::size_t skip, times;
        Paths expected;
    } cases[] = {
        {"nothing", MachineStep::kCreateEnumerator, 0, kAlways, {u"b", u"a"}},
        {"the count", MachineStep::kCountDevices, 0, kAlways, {}},
        {"the first device", MachineStep::kTakeDevice, 0, 1, {u"b"}},
        {"the last device", MachineStep::kTakeDevice, 4, 1, {u"a"}},
        {"a property store", MachineStep::kOpenProperties, 0, 1, {u"b"}},
        {"all property stores", MachineStep::kOpenProperties, 0, kAlways, {}},
        {"an instance id", MachineStep::kReadProperty, 0, 1, {u"b"}},
        {"a node", MachineStep::kLocateNode, 0, 1, {u"b"}},
        {"the list of interfaces", MachineStep::kListInterfaces, 0, kAlways, {}},
        {"an interface", MachineStep::kEnumerateInterface, 2, 1, {u"b"}},
        {"the size of a path", MachineStep::kMeasureDetail, 1, 1, {u"a"}},
        {"a path", MachineStep::kReadDetail, 1, 1, {u"a"}},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.name);
        machine->Fail(row.step, kFailed, row.skip, row.times);
        EXPECT_EQ(Find(), row.expected);
        machine->Behave();
    }
    EXPECT_EQ(FindDriverDevicePaths(nullptr), Paths());
    devices = {1, 2, 3};
    EXPECT_EQ(Find(), Paths()) << "no device tells a node that is there";
}

}  // namespace
}  // namespace quorvel::test
