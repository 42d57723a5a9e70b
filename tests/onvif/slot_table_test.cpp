// The driver object's virtual table, read as the server's code sees it: by position. The server is built elsewhere and
// calls slot numbers; an operation that moves makes it call another one.
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <link.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <map>
#include <regex>
#include <stdexcept>
#include <string>
#include <vector>

#include "onvif/camapi-onvif.h"
#include "tests/onvif/command_lines.h"

namespace {

constexpr std::size_t kSlots = 42;
// In front of the first slot: the offset to the top of the object, and the type information.
constexpr std::size_t kWordsBeforeSlots = 2;

struct Slot {
  const char* owner;  // the class whose operation stands there
  const char* operation;
};

constexpr std::array<Slot, kSlots> kTable{{
    {"ONVIFAPI", "~ONVIFAPI()"},  // complete
    {"ONVIFAPI", "~ONVIFAPI()"},  // deleting
    {"ONVIFAPI", "SetStmProfile(STM_PROFILE const&)"},
    {"CameraAPI", "SetVdoStmType(int, int)"},
    {"CameraAPI", "SetDetVdoStmType(int, int)"},
    {"CameraAPI", "SetStream(string, string, string)"},
    {"CameraAPI", "SetLiveStream(string, string, string)"},
    {"CameraAPI", "SetShotReso(string)"},
    {"ONVIFAPI", "SetPreset(int, string)"},
    {"ONVIFAPI", "DelPreset(int, string)"},
    {"ONVIFAPI", "GetPresets(map<int, string>&)"},
    {"CameraAPI", "SetMotion()"},
    {"CameraAPI", "SetAlarm()"},
    {"CameraAPI", "SetMDParam(int, int, int, int)"},
    {"ONVIFAPI", "SetAudio(int)"},
    {"ONVIFAPI", "GetPathPort(string&, int&)"},
    {"ONVIFAPI", "GetLivePathPort(string&, int&)"},
    {"CameraAPI", "GetDetPathPort(string&, int&)"},
    {"CameraAPI", "GetDiTrigValue(string&)"},
    {"CameraAPI", "GetUsrAgent()"},
    {"ONVIFAPI", "GetShotPathPort(string&, int&, int&)"},
    {"CameraAPI", "GetMDParam(int&, int&, int&, int&)"},
    {"ONVIFAPI", "LensPTZ(int)"},
    {"ONVIFAPI", "LensPTZStart(int)"},
    {"ONVIFAPI", "LensPTZSpeedStart(int, int)"},
    {"ONVIFAPI", "LensPTZStop(int)"},
    {"CameraAPI", "LensABSPosition(int, int)"},
    {"ONVIFAPI", "LensPreset(int, string)"},
    {"ONVIFAPI", "GetCapability(map<string, string>&)"},
    {"ONVIFAPI", "GetDeviceInfo(map<string, string>&)"},
    {"CameraAPI", "IsModeledAPI()"},
    {"CameraAPI", "IsDefinedAPI()"},
    {"ONVIFAPI", "TestConn()"},
    {"CameraAPI", "SetCamParam(CAM_PARAM_PROFILE&)"},
    {"CameraAPI", "GetStreamFormat()"},
    {"CameraAPI", "GetPort()"},
    {"CameraAPI", "GetCH()"},
    {"CameraAPI", "GetHost()"},
    {"CameraAPI", "GetUser()"},
    {"CameraAPI", "GetPassword()"},
    {"CameraAPI", "GetCameraSpecific(map<int, string>&)"},
    {"CameraAPI", "SetAutoFocus()"},
}};

// A demangled name with the library's templates in the short form of the table above.
std::string Shortened(std::string name) {
  static const std::regex string("std::(__cxx11::)?basic_string<char, std::char_traits<char>, std::allocator<char> ?>");
  static const std::regex map(
      "std::map<(int|string), string, std::less<[a-z]+>, std::allocator<std::pair<[^>]*> ?> ?>");
  name = std::regex_replace(name, string, "string");
  name = std::regex_replace(name, std::regex(" >"), ">");
  name = std::regex_replace(name, std::regex("\\[abi:cxx11\\]"), "");
  return std::regex_replace(name, map, "map<$1, string>");
}

// The functions of a library's dynamic symbol table, by their offset.
std::multimap<std::uintptr_t, std::string> FunctionsOf(const std::string& library) {
  std::multimap<std::uintptr_t, std::string> functions;
  for (const std::string& line : testsupport::LinesOf(CAMAPI_NM " -DC --defined-only '" + library + "'")) {
    const std::size_t offsetEnd = line.find(' ');  // a letter for the kind of symbol and another blank follow
    functions.emplace(std::stoull(line.substr(0, offsetEnd), nullptr, 16), line.substr(offsetEnd + 3));
  }
  return functions;
}

// Where in a library a function is.
Dl_info Find(const void* code) {
  Dl_info info{};
  if (dladdr(code, &info) == 0) throw std::runtime_error("code of no library");
  return info;
}

// How far from a library's begin a function is, as nm tells it: without the bit that marks Thumb code.
std::uintptr_t OffsetOf(const void* code, const Dl_info& library) {
  const auto offset = reinterpret_cast<std::uintptr_t>(code) - reinterpret_cast<std::uintptr_t>(library.dli_fbase);
#ifdef __arm__
  return offset & ~std::uintptr_t{1};
#else
  return offset;
#endif
}

// All names of a function: the optimiser merges those that do the same.
std::vector<std::string> NamesOf(const void* code) {
  static std::map<std::string, std::multimap<std::uintptr_t, std::string>> libraries;
  const Dl_info info = Find(code);
  const auto [library, isNew] = libraries.try_emplace(info.dli_fname);
  if (isNew) library->second = FunctionsOf(info.dli_fname);
  const auto [first, last] = library->second.equal_range(OffsetOf(code, info));
  std::vector<std::string> names;
  for (auto function = first; function != last; ++function) names.push_back(Shortened(function->second));
  return names;
}

std::string SymbolAt(const void* code) {
  const Dl_info info = Find(code);
  return info.dli_sname == nullptr ? "(no symbol)" : info.dli_sname;
}

class SlotTable : public testing::Test {
 protected:
  SlotTable() : m_driver("127.0.0.1", 80, "user", "password", "P", m_cap) {
    std::memcpy(&m_table, static_cast<const void*>(static_cast<CameraAPI*>(&m_driver)), sizeof(m_table));
  }

  CameraCap m_cap;
  ONVIFAPI m_driver;
  const void* const* m_table = nullptr;
};

TEST_F(SlotTable, HoldsEachOperationAtItsPlace) {
  for (std::size_t slot = 0; slot < kSlots; ++slot) {
    const std::string expected = std::string(kTable[slot].owner) + "::" + kTable[slot].operation;
    EXPECT_THAT(NamesOf(m_table[slot]), testing::Contains(expected)) << "slot " << slot << " is out of order";
  }
}

// The two destructors have one name, but not one symbol. Without virtual bases "complete" and "base object" are one.
TEST_F(SlotTable, BeginsWithTheCompleteAndTheDeletingDestructor) {
  EXPECT_THAT(SymbolAt(m_table[0]), testing::AnyOf("_ZN8ONVIFAPID1Ev", "_ZN8ONVIFAPID2Ev"));
  EXPECT_EQ(SymbolAt(m_table[1]), "_ZN8ONVIFAPID0Ev");
}

TEST_F(SlotTable, HasNoSlotMoreOrLess) {
  Dl_info info{};
  void* entry = nullptr;
  ASSERT_NE(dladdr1(m_table, &info, &entry, RTLD_DL_SYMENT), 0);
  ASSERT_STREQ(info.dli_sname, "_ZTV8ONVIFAPI");

  EXPECT_EQ(static_cast<const ElfW(Sym)*>(entry)->st_size, (kSlots + kWordsBeforeSlots) * sizeof(void*));
}

// The slot that a call by this pointer goes to, or -1 for an operation that is not virtual. The two words of a pointer
// to a member function differ between the processors: ARM marks a virtual one in the second word, the others in the
// first.
template <typename Pointer>
std::ptrdiff_t SlotOf(Pointer pointer) {
  std::array<std::ptrdiff_t, 2> words{};
  static_assert(sizeof(pointer) == sizeof(words));
  std::memcpy(words.data(), &pointer, sizeof(words));
#if defined(__arm__) || defined(__aarch64__)
  const bool isVirtual = (words[1] & 1) != 0;
  const std::ptrdiff_t offset = words[0];
#else
  const bool isVirtual = (words[0] & 1) != 0;
  const std::ptrdiff_t offset = words[0] - 1;
#endif
  return isVirtual ? offset / static_cast<std::ptrdiff_t>(sizeof(void*)) : -1;
}

struct Call {
  const char* operation;
  std::ptrdiff_t slot;
};

#define CALL(operation)                       \
  Call {                                      \
#operation, SlotOf(&CameraAPI::operation) \
  }

// The other half of the contract: where a call by name goes. It tells apart what the optimiser has merged.
TEST(SlotOfCall, IsThatOfTheTable) {
  const std::array<Call, kSlots - 2> calls{CALL(SetStmProfile),
                                           CALL(SetVdoStmType),
                                           CALL(SetDetVdoStmType),
                                           CALL(SetStream),
                                           CALL(SetLiveStream),
                                           CALL(SetShotReso),
                                           CALL(SetPreset),
                                           CALL(DelPreset),
                                           CALL(GetPresets),
                                           CALL(SetMotion),
                                           CALL(SetAlarm),
                                           CALL(SetMDParam),
                                           CALL(SetAudio),
                                           CALL(GetPathPort),
                                           CALL(GetLivePathPort),
                                           CALL(GetDetPathPort),
                                           CALL(GetDiTrigValue),
                                           CALL(GetUsrAgent),
                                           CALL(GetShotPathPort),
                                           CALL(GetMDParam),
                                           CALL(LensPTZ),
                                           CALL(LensPTZStart),
                                           CALL(LensPTZSpeedStart),
                                           CALL(LensPTZStop),
                                           CALL(LensABSPosition),
                                           CALL(LensPreset),
                                           CALL(GetCapability),
                                           CALL(GetDeviceInfo),
                                           CALL(IsModeledAPI),
                                           CALL(IsDefinedAPI),
                                           CALL(TestConn),
                                           CALL(SetCamParam),
                                           CALL(GetStreamFormat),
                                           CALL(GetPort),
                                           CALL(GetCH),
                                           CALL(GetHost),
                                           CALL(GetUser),
                                           CALL(GetPassword),
                                           CALL(GetCameraSpecific),
                                           CALL(SetAutoFocus)};
  for (std::size_t i = 0; i < calls.size(); ++i) {
    const std::size_t slot = i + 2;
    EXPECT_EQ(calls[i].slot, static_cast<std::ptrdiff_t>(slot)) << calls[i].operation << " is out of order";
    EXPECT_EQ(std::string(kTable[slot].operation).rfind(std::string(calls[i].operation) + "(", 0), 0U)
        << calls[i].operation << " is not what slot " << slot << " holds";
  }
}
#undef CALL

TEST(SlotOfCall, OperationsOfTheDriverAloneHaveNone) {
  EXPECT_EQ(SlotOf(&ONVIFAPI::ConvertOnvifRetToCamApiRet), -1);
  EXPECT_EQ(SlotOf(&ONVIFAPI::GetRTSPPort), -1);
  EXPECT_EQ(SlotOf(&ONVIFAPI::GetEntries), -1);
  EXPECT_EQ(SlotOf(&ONVIFAPI::GetMediaCap), -1);
  EXPECT_EQ(SlotOf(&ONVIFAPI::GetVdoEncoderCap), -1);
  EXPECT_EQ(SlotOf(&ONVIFAPI::GetCodecCapUnion), -1);
  EXPECT_EQ(SlotOf(&ONVIFAPI::GetVideoIndependentCap), -1);
  EXPECT_EQ(SlotOf(&ONVIFAPI::GetAudEncoderCap), -1);
  EXPECT_EQ(SlotOf(&ONVIFAPI::GetPTZCap), -1);
  EXPECT_EQ(SlotOf(&ONVIFAPI::ConvertVideoStrFromOnvifToHx), -1);
  EXPECT_EQ(SlotOf(&ONVIFAPI::GetRealQualText), -1);
  EXPECT_EQ(SlotOf(&ONVIFAPI::SetSingleMediaProfile), -1);
  EXPECT_EQ(SlotOf(&ONVIFAPI::CheckAndGetValidLiveviewProfile), -1);
  EXPECT_EQ(SlotOf(&ONVIFAPI::FindProfByVdoTypeReso), -1);
  EXPECT_EQ(SlotOf(&ONVIFAPI::FindVdoEncByVdoTypeReso), -1);
  EXPECT_EQ(SlotOf(&ONVIFAPI::FindProfByVdoEncoder), -1);
  EXPECT_EQ(SlotOf(&ONVIFAPI::AddVideoSrcConf), -1);
  EXPECT_EQ(SlotOf(&ONVIFAPI::AddPTZConf), -1);
  EXPECT_EQ(SlotOf(&ONVIFAPI::AddAudioSrcConf), -1);
  EXPECT_EQ(SlotOf(&ONVIFAPI::FindExistAudEncByType), -1);
  EXPECT_EQ(SlotOf(&ONVIFAPI::FindAudEncByType), -1);
  EXPECT_EQ(SlotOf(&ONVIFAPI::GetPTZMovement), -1);
  EXPECT_EQ(SlotOf(&ONVIFAPI::GetPTZTranslation), -1);
  EXPECT_EQ(SlotOf(&ONVIFAPI::GetPTZVelocity), -1);
  EXPECT_EQ(SlotOf(&ONVIFAPI::GetPresetToken), -1);
}

// Called through the base, as the server does.
class BaseAnswer : public SlotTable {
 protected:
  CameraAPI& m_api = m_driver;
  std::string m_text = "kept";
  int m_1 = 11;
  int m_2 = 12;
  int m_3 = 13;
  int m_4 = 14;
};

TEST_F(BaseAnswer, ToSettingsOfStreamsIs7) {
  EXPECT_EQ(m_api.SetVdoStmType(1, 1), 7);
  EXPECT_EQ(m_api.SetDetVdoStmType(1, 1), 7);
  EXPECT_EQ(m_api.SetStream("640x480", "25", "3"), 7);
  EXPECT_EQ(m_api.SetLiveStream("640x480", "25", "3"), 7);
  EXPECT_EQ(m_api.SetShotReso("640x480"), 7);
}

TEST_F(BaseAnswer, ToSettingsOfTheCameraIs7) {
  CAM_PARAM_PROFILE param;
  EXPECT_EQ(m_api.SetMotion(), 7);
  EXPECT_EQ(m_api.SetAlarm(), 7);
  EXPECT_EQ(m_api.SetMDParam(1, 2, 3, 4), 7);
  EXPECT_EQ(m_api.SetCamParam(param), 7);
  EXPECT_EQ(m_api.SetAutoFocus(), 7);
}

TEST_F(BaseAnswer, ToAbsolutePositionsIs7) {
  EXPECT_EQ(m_api.LensABSPosition(1, 1), 7);
}

TEST_F(BaseAnswer, ToQueriesIs7AndTouchesNoOutput) {
  std::map<int, std::string> numbered{{1, "kept"}};
  EXPECT_EQ(m_api.GetCameraSpecific(numbered), 7);
  EXPECT_EQ(m_api.GetDetPathPort(m_text, m_1), 7);
  EXPECT_EQ(m_api.GetDiTrigValue(m_text), 7);
  EXPECT_EQ(m_api.GetMDParam(m_1, m_2, m_3, m_4), 7);

  EXPECT_EQ(numbered, (std::map<int, std::string>{{1, "kept"}}));
  EXPECT_EQ(m_text, "kept");
  EXPECT_EQ((std::array<int, 4>{m_1, m_2, m_3, m_4}), (std::array<int, 4>{11, 12, 13, 14}));
}

// The driver's own operations, reached through the base. Nothing is known of the camera, so that none of these asks it.
TEST_F(BaseAnswer, IsTheDriversWhereItHasOne) {
  std::map<int, std::string> presets{{1, "kept"}};
  STM_PROFILE otherMode;
  otherMode.nStmMode = 2;
  EXPECT_EQ(m_api.SetStmProfile(otherMode), 1) << "7 is the base's";
  EXPECT_EQ(m_api.LensPTZ(1), 7);
  EXPECT_EQ(m_api.LensPTZStart(1), 7);
  EXPECT_EQ(m_api.LensPTZSpeedStart(1, 1), 7);
  EXPECT_EQ(m_api.LensPTZStop(1), 7);
  EXPECT_EQ(m_api.SetPreset(1, "p"), 7);
  EXPECT_EQ(m_api.DelPreset(1, "p"), 7);
  EXPECT_EQ(m_api.LensPreset(1, "p"), 7);
  EXPECT_EQ(m_api.GetPresets(presets), 7);
  EXPECT_EQ(presets, (std::map<int, std::string>{{1, "kept"}}));
}

TEST_F(BaseAnswer, TellsWhatTheObjectWasMadeWith) {
  EXPECT_EQ(m_api.GetUsrAgent(), "");
  EXPECT_FALSE(m_api.IsModeledAPI());
  EXPECT_TRUE(m_api.IsDefinedAPI());
  EXPECT_EQ(m_api.GetStreamFormat(), 0);
  EXPECT_EQ(m_api.GetPort(), 80);
  EXPECT_EQ(m_api.GetCH(), "P");
  EXPECT_EQ(m_api.GetHost(), "127.0.0.1");
  EXPECT_EQ(m_api.GetUser(), "user");
  EXPECT_EQ(m_api.GetPassword(), "password");
}

}  // namespace
