// The simulated machine itself: what its calls refuse, and that nothing of it stays behind.
#include "platform/simulation/machine/simulated_machine.h"

#include <array>
#include <stdexcept>

#include "platform/clock.h"
#include "platform/interface_ids.h"
#include "tests/support/handles.h"

namespace quorvel::test {
namespace {

using simulation::SimulatedMachine;

class SimulatedMachineTest : public HandleBalance {};

TEST_F(SimulatedMachineTest, LeavesNothingBehind) {
    IMMDeviceCollection* collection = nullptr;
    {
        SimulatedMachine machine;
        EXPECT_THROW(SimulatedMachine(), std::logic_error);
        EXPECT_EQ(platform::SecondsSinceEpoch(), SimulatedMachine::kStartOfClock);
        machine.SetClock(5);
        EXPECT_EQ(platform::SecondsSinceEpoch(), 5);
        const DWORD node = machine.AddNode(u"node");
        DEVINST found = 0;
        std::u16string id = u"NODE";
        EXPECT_EQ(CM_Locate_DevNodeW(&found, id.data(), 2), CR_SUCCESS);
        EXPECT_EQ(found, node);
        collection = machine.NewCollection({machine.AddEndpoint(u"E", eRender, u"node")});
    }
    void* enumerator = nullptr;
    EXPECT_EQ(CoCreateInstance(class_id::kDeviceEnumerator, nullptr, CLSCTX_ALL,
                               interface_id::kDeviceEnumerator, &enumerator),
              REGDB_E_CLASSNOTREG);
    // The object goes on answering; a new machine knows nothing of the old one.
    SimulatedMachine machine;
    EXPECT_EQ(machine.LiveObjects(), 0u);
    IMMDevice* device = nullptr;
    ASSERT_EQ(collection->Item(0, &device), S_OK);
    EXPECT_EQ(device->Release(), 0u);
    EXPECT_EQ(collection->Release(), 0u);
    DEVINST found = 0;
    std::u16string id = u"node";
    EXPECT_EQ(CM_Locate_DevNodeW(&found, id.data(), 2), CR_NO_SUCH_DEVNODE);
}

TEST_F(SimulatedMachineTest, CountsNotificationClients) {
    struct Client final : IMMNotificationClient {
        HRESULT QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
        ULONG AddRef() override { return ++references; }
        ULONG Release() override { return --references; }
        HRESULT OnDeviceStateChanged(LPCWSTR, DWORD) override { return S_OK; }
        HRESULT OnDeviceAdded(LPCWSTR) override { return S_OK; }
        HRESULT OnDeviceRemoved(LPCWSTR) override { return S_OK; }
        HRESULT OnDefaultDeviceChanged(EDataFlow, ERole, LPCWSTR) override { return S_OK; }
        HRESULT OnPropertyValueChanged(LPCWSTR, const PROPERTYKEY) override { return S_OK; }
        ULONG references = 1;
    } client;

    SimulatedMachine machine;
    void* object = nullptr;
    const auto create = [&](const IID& iid) {
        return CoCreateInstance(class_id::kDeviceEnumerator, nullptr, CLSCTX_ALL, iid, &object);
    };
    machine.Fail(platform::MachineStep::kCreateEnumerator, 0x80040154, 0, 1);
    EXPECT_EQ(create(interface_id::kDeviceEnumerator), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(create(interface_id::kClassFactory), E_NOINTERFACE);
    ASSERT_EQ(create(interface_id::kDeviceEnumerator), S_OK);
    auto& enumerator = *static_cast<IMMDeviceEnumerator*>(object);
    machine.Fail(platform::MachineStep::kRegisterNotifications, 0x80004005, 0, 1);
    EXPECT_EQ(enumerator.RegisterEndpointNotificationCallback(&client), E_FAIL);
    EXPECT_EQ(enumerator.RegisterEndpointNotificationCallback(&client), S_OK);
    EXPECT_EQ(machine.NotificationClients(), 1u);
    EXPECT_EQ(enumerator.UnregisterEndpointNotificationCallback(&client), S_OK);
    EXPECT_EQ(enumerator.UnregisterEndpointNotificationCallback(&client),
              HRESULT_FROM_WIN32(ERROR_NOT_FOUND));
    EXPECT_EQ(machine.NotificationClients(), 0u);
    EXPECT_EQ(client.references, 1u) << "it unregisters when it ends, so it must be able to";
    EXPECT_EQ(machine.LiveObjects(), 1u);
    enumerator.Release();
    EXPECT_EQ(machine.LiveObjects(), 0u);
}

// A caller that sets a size field wrongly would fail on Windows.
TEST_F(SimulatedMachineTest, RefusesWrongSizesAndHandles) {
    constexpr GUID kClass = {1, 2, 3, {4}};
    SimulatedMachine machine;
    machine.AddInterface(kClass, 1, u"path");
    machine.AddModule({u"a.dll", u"C:\\a.dll", 0x1000, 0x100});
    const HDEVINFO list = SetupDiGetClassDevsW(&kClass, nullptr, nullptr, 0x12);
    SP_DEVICE_INTERFACE_DATA shown{};
    EXPECT_FALSE(SetupDiEnumDeviceInterfaces(list, nullptr, &kClass, 0, &shown));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_USER_BUFFER);
    shown.cbSize = sizeof(shown);
    ASSERT_TRUE(SetupDiEnumDeviceInterfaces(list, nullptr, &kClass, 0, &shown));
    EXPECT_FALSE(SetupDiEnumDeviceInterfaces(list, nullptr, &kClass, 1, &shown));
    EXPECT_EQ(GetLastError(), ERROR_NO_MORE_ITEMS);

    std::array<std::byte, 32> buffer{};
    auto* const detail = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W*>(buffer.data());
    const auto detailError = [&](DWORD sizeField, DWORD size, DWORD deviceSize) {
        SP_DEVINFO_DATA device{};
        device.cbSize = deviceSize;
        std::memcpy(buffer.data(), &sizeField, sizeof(sizeField));
        return ErrorUnless(SetupDiGetDeviceInterfaceDetailW(list, &shown, detail, size, nullptr,
                                                            &device) != FALSE);
    };
    constexpr DWORD kDevice = sizeof(SP_DEVINFO_DATA);
    EXPECT_EQ(detailError(6, 14, kDevice), 0u);
    EXPECT_EQ(detailError(6, 13, kDevice), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(detailError(8, 32, kDevice), ERROR_INVALID_USER_BUFFER);
    EXPECT_EQ(detailError(6, 32, kDevice - 4), ERROR_INVALID_USER_BUFFER);
    EXPECT_TRUE(SetupDiDestroyDeviceInfoList(list));
    EXPECT_FALSE(SetupDiDestroyDeviceInfoList(list));

    const UniqueHandle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, 0));
    MODULEENTRY32W entry{};
    EXPECT_FALSE(Module32FirstW(snapshot.Get(), &entry));
    EXPECT_EQ(GetLastError(), ERROR_BAD_LENGTH);
    EXPECT_FALSE(Module32NextW(GetCurrentProcess(), &entry));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
}

TEST_F(SimulatedMachineTest, ReadsMemoryUpToTheFirstGap) {
    SimulatedMachine machine;
    const std::array<std::byte, 8> bytes = {std::byte{1}, std::byte{2}, std::byte{3}};
    machine.WriteMemory(0x100, bytes);
    machine.WriteMemory(0x109, bytes);
    EXPECT_THROW(machine.Change([&](platform::MachineState& state) {
        state.memory.Write(~DWORD64{0} - 4, bytes);
    }),
                 std::invalid_argument);

    const UniqueHandle process(OpenProcess(PROCESS_VM_READ, FALSE, GetCurrentProcessId()));
    const UniqueHandle blind(OpenProcess(SYNCHRONIZE, FALSE, GetCurrentProcessId()));
    EXPECT_EQ(OpenProcess(PROCESS_VM_READ, FALSE, GetCurrentProcessId() + 1), nullptr);
    const struct {
        HANDLE process;
        ULONG_PTR address;
        SIZE_T size, count;
        DWORD error;
    } cases[] = {
        {process.Get(), 0x100, 8, 8, 0},
        {GetCurrentProcess(), 0x102, 6, 6, 0},
        {process.Get(), 0x102, 8, 6, ERROR_PARTIAL_COPY},
        {process.Get(), 0x108, 4, 0, ERROR_PARTIAL_COPY},
        {process.Get(), ~ULONG_PTR{0}, 4, 0, ERROR_PARTIAL_COPY},
        {blind.Get(), 0x100, 8, 0, ERROR_ACCESS_DENIED},
        {nullptr, 0x100, 8, 0, ERROR_INVALID_HANDLE},
    };
    for (const auto& row : cases) {
        std::array<std::byte, 8> copy{};
        SIZE_T count = 99;
        const bool isRead = ReadProcessMemory(row.process, reinterpret_cast<LPCVOID>(row.address),
                                              copy.data(), row.size, &count) != FALSE;
        EXPECT_EQ(ErrorUnless(isRead), row.error) << row.address;
        EXPECT_EQ(count, row.count) << row.address;
    }
}

TEST_F(SimulatedMachineTest, TellsItsVersionUnlessItCannot) {
    SimulatedMachine machine;
    machine.Change([](platform::MachineState& state) { state.version->major = 6; });
    const HMODULE kernel = GetModuleHandleW(u"NTDLL.dll");
    ASSERT_NE(kernel, nullptr);
    const auto getVersion = reinterpret_cast<LONG (*)(RTL_OSVERSIONINFOEXW*)>(
        reinterpret_cast<void*>(GetProcAddress(kernel, "RtlGetVersion")));
    RTL_OSVERSIONINFOEXW version{};
    ASSERT_NE(getVersion, nullptr);
    EXPECT_EQ(getVersion(&version), 0);
    EXPECT_EQ(version.dwMajorVersion, 6u);
    machine.Change([](platform::MachineState& state) { state.version.reset(); });
    EXPECT_EQ(GetProcAddress(kernel, "RtlGetVersion"), nullptr);
    EXPECT_EQ(GetModuleHandleW(u"other.dll"), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_MOD_NOT_FOUND);
}

}  // namespace
}  // namespace quorvel::test
