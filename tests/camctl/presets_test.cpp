#include "camctl/presets.h"

#include <gtest/gtest.h>

#include "tests/camctl/session_fixture.h"

namespace camctl {
namespace {

std::list<OVF_PTZ_PRESET_POS> Named(const std::vector<std::string>& names) {
  std::list<OVF_PTZ_PRESET_POS> presets;
  for (const std::string& name : names) presets.push_back({name, "t"});
  return presets;
}

TEST(ForeignNames, AreThoseThatTheDriverWouldDelete) {
  EXPECT_EQ(ForeignNames(Named({"QARN1", "Door", "qarn2", "QARN01", "QARN", "\xff", "QARN65"})),
            (std::vector<std::string>{"Door", "QARN01", "QARN", "\xff"}));
}

TEST(FreeNumber, HighestThatNoPresetHas) {
  EXPECT_EQ(FreeNumber(Named({}), 4), 3);
  EXPECT_EQ(FreeNumber(Named({"QARN3", "qarn2", "Door"}), 4), 1);
  EXPECT_EQ(FreeNumber(Named({"QARN0", "QARN1"}), 2), -1);
  EXPECT_EQ(FreeNumber(Named({}), 0), -1);
}

class PresetSteps : public testing::Test {
 protected:
  PresetSteps() : m_live("ptz-dome"), m_connection(m_live.GetConnection()), m_session(m_connection) {
    m_session.UseProfiles(m_live.FirstProfiles());
    EXPECT_EQ(kReport.run(m_session).result, 0);
  }

  std::vector<std::string> NamesOnTheCamera() {
    std::list<OVF_PTZ_PRESET_POS> presets;
    EXPECT_EQ(ReadPresets(presets).run(m_session).result, 0);
    std::vector<std::string> names;
    for (const OVF_PTZ_PRESET_POS& preset : presets) names.push_back(preset.strName);
    return names;
  }

  LiveCamera m_live;
  Connection m_connection;
  Session m_session;
};

TEST_F(PresetSteps, LookingDeletesNothingAndListingDeletesTheForeignOnes) {
  EXPECT_EQ(StorePreset(2).run(m_session).result, 0);
  EXPECT_EQ(NamesOnTheCamera(), (std::vector<std::string>{"Entrance", "QARN2"}));
  EXPECT_EQ(NamesOnTheCamera(), (std::vector<std::string>{"Entrance", "QARN2"}));
  EXPECT_EQ(ListPresets().run(m_session).result, 0);
  EXPECT_EQ(m_session.Camera().presets, (std::map<int, std::string>{{2, "qarn2"}}));
  EXPECT_EQ(NamesOnTheCamera(), std::vector<std::string>{"QARN2"});
}

TEST_F(PresetSteps, DeletingByNumberAndByName) {
  EXPECT_EQ(StorePreset(2).run(m_session).result, 0);
  EXPECT_EQ(DeletePreset(2, "").run(m_session).result, 0);
  EXPECT_EQ(DeletePreset(-1, "Entrance").run(m_session).result, 0);
  EXPECT_EQ(NamesOnTheCamera(), std::vector<std::string>());
}

TEST_F(PresetSteps, NumberBeyondTheCameraIsThree) {
  EXPECT_EQ(StorePreset(64).run(m_session).result, 3);
  EXPECT_EQ(VisitPreset(64).run(m_session).result, 3);
  EXPECT_EQ(DeletePreset(64, "").run(m_session).result, 3);
}

}  // namespace
}  // namespace camctl
