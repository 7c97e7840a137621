// The module: registration, class factories, what keeps it loaded.
#include "apo/registration/apo_registration.h"
#include "apo/registration/registration_records.h"
#include "apo/registration/registry_script.h"
#include "apo/registration/registry_script_texts.h"
#include "tests/apo/apo_test.h"
#include "tests/support/lacking_memory.h"

namespace quorvel::test {
namespace {

const std::u16string kObjects = u"AudioEngine\\AudioProcessingObjects";
const std::u16string kFirst = u"{A6624EB4-A3D8-4251-9611-BF3B005172BE}";

class Module : public HandleBalance {
  protected:
    void TearDown() override {
        platform::StopFailingRegistryChanges();
        platform::ClearRegistry();
        EXPECT_EQ(platform::OpenRegistryKeys(), 0u);
        HandleBalance::TearDown();
    }
    static std::u16string Value(const std::u16string& path, const std::u16string& name) {
        return platform::ReadRegistryValue(path, name).value_or(u"(none)");
    }
};

TEST_F(Module, RegistersTheFourClasses) {
    SetThreadLocale(0x407);
    for (int times = 0; times < 2; ++times) {
        ASSERT_EQ(DllRegisterServer(), S_OK);
        EXPECT_EQ(platform::RegistryKeys(kObjects).size(), 4u);
        EXPECT_EQ(platform::RegistryKeys(u"CLSID").size(), 4u);
    }
    EXPECT_EQ(GetThreadLocale(), 0x407u);
    const std::u16string object = kObjects + u"\\" + kFirst;
    EXPECT_EQ(Value(object, u"FriendlyName"),
              u"Quorvel Audio Processing Output Stream Object 2.2.20");
    EXPECT_EQ(Value(object, u"Flags"), u"13");
    EXPECT_EQ(Value(object, u"MaxInstances"), u"4294967295");
    EXPECT_EQ(Value(object, u"APOInterface0"), u"{0A00EAD3-17FB-45D8-B42B-EB941C6AD887}");
    EXPECT_EQ(platform::RegistryValues(object).size(), 12u);
    const std::u16string server = u"CLSID\\" + kFirst + u"\\InprocServer32";
    EXPECT_EQ(Value(u"CLSID\\" + kFirst, u""),
              u"Quorvel Gaming Headset Drivers APOLFX Output Class");
    EXPECT_EQ(Value(server, u""), platform::ModuleFile());
    EXPECT_EQ(Value(server, u"ThreadingModel"), u"Both");
    EXPECT_EQ(Value(u"TypeLib\\{4924510F-C676-4717-92FB-FDAEA92EB00B}\\1.0", u""), u"APODlllib");
    EXPECT_TRUE(platform::RegistryKeys(u"AppID").empty()) << "not registered by the library";

    EXPECT_EQ(DllUnregisterServer(), S_OK);
    EXPECT_TRUE(platform::RegistryKeys(kObjects).empty());
    EXPECT_TRUE(platform::RegistryKeys(u"CLSID").empty());
    EXPECT_EQ(platform::RegistryKeys(u"").size(), 3u) << "shared keys stay";
    EXPECT_EQ(DllUnregisterServer(), static_cast<HRESULT>(0x80070002));
}

// Every step of the unregistration fails once. But for the class keys, whose failure ends it, the
// engine's keys go all the same.
TEST_F(Module, UnregistersWithTheEngineWhereverTheTypeLibraryFails) {
    std::size_t keysKept = 0;
    for (std::size_t failure = 0;; ++failure) {
        ASSERT_EQ(DllRegisterServer(), S_OK);
        platform::FailRegistryChange(failure);
        const HRESULT result = DllUnregisterServer();
        if (!platform::StopFailingRegistryChanges()) break;
        const std::size_t left = platform::RegistryKeys(kObjects).size();
        const bool isLastDeletion = failure == 4 + 1 + 3;
        const bool isEarlierDeletion = failure > 4 && !isLastDeletion;
        EXPECT_EQ(result, isEarlierDeletion ? S_OK : static_cast<HRESULT>(0x80070005)) << failure;
        EXPECT_EQ(left, failure < 4 ? 4u : failure == 4 ? 0u : 1u) << failure;
        keysKept += left != 0;
    }
    EXPECT_EQ(keysKept, 4 + 4u);
}

TEST_F(Module, TakesTheEnginesKeysBackWhereverRegistrationFails) {
    std::size_t failures = 0;
    for (;; ++failures) {
        platform::ClearRegistry();
        platform::FailRegistryChange(failures);
        const HRESULT result = DllRegisterServer();
        if (!platform::StopFailingRegistryChanges()) break;
        EXPECT_EQ(result, HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED));
        // The class whose own registration failed keeps what was written.
        EXPECT_LE(platform::RegistryKeys(kObjects).size(), 1u) << "change " << failures;
    }
    EXPECT_GT(failures, 4 * 13u);

    for (failures = 0;; ++failures) {
        platform::ClearRegistry();
        LackingMemory lack(failures);
        const HRESULT result = DllRegisterServer();
        if (!lack.HasFailed()) break;
        EXPECT_TRUE(FAILED(result));
        EXPECT_LE(platform::RegistryKeys(kObjects).size(), 1u) << "allocation " << failures;
    }
    EXPECT_GT(failures, 4 * 13u);
}

TEST_F(Module, RefusesTextsThatAreTooLong) {
    APO_REG_PROPERTIES record = lfxOutRegistration;
    EXPECT_EQ(RegisterAPO(nullptr), E_POINTER);
    std::fill_n(record.szFriendlyName, 256, u'x');
    EXPECT_EQ(RegisterAPO(&record), E_INVALIDARG);
    EXPECT_TRUE(platform::RegistryValues(kObjects + u"\\" + kFirst).empty()) << "an empty key";
    EXPECT_EQ(platform::RegistryKeys(kObjects).size(), 1u);
    record.szFriendlyName[255] = 0;
    record.u32NumAPOInterfaces = 0;
    EXPECT_EQ(RegisterAPO(&record), S_OK);
    EXPECT_EQ(platform::RegistryValues(kObjects + u"\\" + kFirst).size(), 11u);
}

TEST_F(Module, ScriptsThatAreNoneChangeNothing) {
    const ScriptReplacement replacements[] = {{"A", u"text"}};
    const char* const scripts[] = {"",
                                   "HKCR",
                                   "HKLM { x }",
                                   "HKCR {",
                                   "HKCR { x } }",
                                   "HKCR { val x = s 'y' }",
                                   "HKCR { x = }",
                                   "HKCR { x = s y }",
                                   "HKCR { x = d '12z' }",
                                   "HKCR { x = d '4294967296' }",
                                   "HKCR { x = s 'open }",
                                   "HKCR { x = s '%B%' }",
                                   "HKCR { x = s '%A' }",
                                   "HKCR { NoRemove }"};
    for (const char* const script : scripts)
        EXPECT_EQ(RunRegistryScript(script, replacements, ScriptAction::kRegister),
                  ERROR_INVALID_DATA)
            << script;
    std::string deep = "HKCR {";
    for (int i = 0; i < 5000; ++i)
        deep += " x {";
    EXPECT_EQ(RunRegistryScript(deep, {}, ScriptAction::kRegister), ERROR_INVALID_DATA);
    EXPECT_TRUE(platform::RegistryKeys(u"").empty());

    const char* const good =
        "HKCR { NoRemove Kept { 'own key' = s '%A%' { val n = d '7' inner } ForceRemove {gone} } }";
    ASSERT_EQ(RunRegistryScript(good, replacements, ScriptAction::kRegister), ERROR_SUCCESS);
    EXPECT_EQ(Value(u"Kept\\own key", u""), u"text");
    EXPECT_EQ(Value(u"kept\\OWN key", u"N"), u"7");
    ASSERT_EQ(RunRegistryScript("HKCR { Kept { {gone} { other } } }", {}, ScriptAction::kRegister),
              ERROR_SUCCESS);
    ASSERT_EQ(RunRegistryScript(good, replacements, ScriptAction::kUnregister), ERROR_SUCCESS);
    EXPECT_EQ(platform::RegistryKeys(u"").size(), 1u);
    EXPECT_TRUE(platform::RegistryKeys(u"Kept").empty());
    const ScriptReplacement application[] = {{"APPID", u"{x}"}};
    EXPECT_EQ(RunRegistryScript(script_text::kApplication, application, ScriptAction::kRegister),
              ERROR_SUCCESS);
    EXPECT_EQ(Value(u"AppID\\APO.dll", u"AppID"), u"{x}");
}

// An outer object that lends its identity.
struct Outer final : IUnknown {
    HRESULT QueryInterface(REFIID, void** object) override {
        *object = this;
        AddRef();
        return S_OK;
    }
    ULONG AddRef() override { return ++references; }
    ULONG Release() override { return --references; }
    ULONG references = 1;
};

TEST_F(Module, FactoriesMakeObjectsAloneAndAggregated) {
    ComReference<IClassFactory> factory;
    ComReference<IUnknown> object, inner, face;
    EXPECT_EQ(DllGetClassObject(NumberedGuid(1), interface_id::kClassFactory, factory.ReceiveAny()),
              CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(DllGetClassObject(class_id::kLfxIn, NumberedGuid(1), factory.ReceiveAny()),
              E_NOINTERFACE);
    EXPECT_EQ(DllGetClassObject(class_id::kLfxIn, interface_id::kClassFactory, nullptr), E_POINTER);
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
    ASSERT_EQ(
        DllGetClassObject(class_id::kLfxIn, interface_id::kClassFactory, factory.ReceiveAny()),
        S_OK);
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
    EXPECT_EQ(factory->CreateInstance(nullptr, NumberedGuid(1), object.ReceiveAny()),
              E_NOINTERFACE);
    EXPECT_EQ(factory->CreateInstance(nullptr, interface_id::kUnknown, object.ReceiveAny()), S_OK);
    Outer outer;
    EXPECT_EQ(factory->CreateInstance(&outer, interface_id::kLfxIn, inner.ReceiveAny()),
              CLASS_E_NOAGGREGATION);
    ASSERT_EQ(factory->CreateInstance(&outer, interface_id::kUnknown, inner.ReceiveAny()), S_OK);
    ASSERT_EQ(inner->QueryInterface(interface_id::kLfxIn, face.ReceiveAny()), S_OK);
    EXPECT_EQ(outer.references, 2u) << "its interfaces count for the outer object";
    ComReference<IUnknown> identity;
    face->QueryInterface(interface_id::kUnknown, identity.ReceiveAny());
    EXPECT_EQ(identity.Get(), &outer);
    identity.Reset();
    face.Reset();
    inner.Reset();
    object.Reset();
    factory->LockServer(TRUE);
    IClassFactory* const kept = factory.Get();
    kept->AddRef();
    factory.Reset();
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
    kept->LockServer(FALSE);
    EXPECT_EQ(kept->Release(), 0u);
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
    EXPECT_EQ(outer.references, 1u);
}

}  // namespace
}  // namespace quorvel::test
