#include "alpaca/device_ids.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <regex>

#include "alpaca/management.h"
#include "support/temporary_folder.h"

namespace kestrane::alpaca {
namespace {

/// An identity on a machine without a name.
ServerIdentity Nameless() {
    ServerIdentity identity;
    identity.version = "1";
    return identity;
}

class DeviceIdsTest : public testing::Test {
protected:
    TemporaryFolders folders;
    std::filesystem::path file = folders.CommonAppData() / "Kestrane" / "ASCOM" / "DeviceIds.ini";
};

TEST_F(DeviceIdsTest, AreRandomAndDiffer) {
    DeviceIds ids(file);
    const std::regex uuid("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}");
    EXPECT_TRUE(std::regex_match(ids.IdOf(DeviceKind::Telescope), uuid)) << ids.IdOf(DeviceKind::Telescope);
    EXPECT_TRUE(std::regex_match(ids.IdOf(DeviceKind::Focuser), uuid));
    EXPECT_NE(ids.IdOf(DeviceKind::Telescope), ids.IdOf(DeviceKind::Focuser));
}

TEST_F(DeviceIdsTest, AreMadeOnceAndKept) {
    DeviceIds first(file);
    DeviceIds second(file);
    const std::string telescope = first.IdOf(DeviceKind::Telescope);
    EXPECT_EQ(second.IdOf(DeviceKind::Telescope), telescope);
    EXPECT_EQ(second.IdOf(DeviceKind::Focuser), first.IdOf(DeviceKind::Focuser));
}

TEST_F(DeviceIdsTest, AreNotMadeBeforeTheyAreAskedFor) {
    const DeviceIds ids(file);
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(DeviceIdsTest, OfADamagedFile_AreMadeAnewWhereTheyAreMissing) {
    DeviceIds first(file);
    const std::string focuser = first.IdOf(DeviceKind::Focuser);
    std::ofstream(file) << "rubbish\n=\ntelescope=<script>\nfocuser=" << focuser << "\n";
    DeviceIds second(file);
    EXPECT_EQ(second.IdOf(DeviceKind::Focuser), focuser);
    EXPECT_EQ(second.IdOf(DeviceKind::Telescope).size(), 36U);
    DeviceIds third(file);
    EXPECT_EQ(third.IdOf(DeviceKind::Telescope), second.IdOf(DeviceKind::Telescope));
}

TEST_F(DeviceIdsTest, ThatCannotBeKept_ServeForTheRun) {
    DeviceIds ids("/proc/no/such/folder/DeviceIds.ini");
    const std::string id = ids.IdOf(DeviceKind::Telescope);
    EXPECT_EQ(id.size(), 36U);
    EXPECT_EQ(ids.IdOf(DeviceKind::Telescope), id);
}

TEST_F(DeviceIdsTest, StandInTheConfiguredDevices) {
    Management management(Nameless(), file);
    const std::string devices = management.ValueOf("/management/v1/configureddevices").value();
    DeviceIds ids(file);
    EXPECT_NE(devices.find("\"UniqueID\":\"" + ids.IdOf(DeviceKind::Telescope) + "\""), std::string::npos);
    EXPECT_NE(devices.find("\"UniqueID\":\"" + ids.IdOf(DeviceKind::Focuser) + "\""), std::string::npos);
}

TEST_F(DeviceIdsTest, TheDescriptionHasNoBlankField) {
    Management management(Nameless(), file);
    const std::string description = management.ValueOf("/management/v1/description").value();
    EXPECT_EQ(description, R"({"ServerName":"Kestrane V2","Manufacturer":"Kestrane","ManufacturerVersion":"1",)"
                           R"("Location":"This computer"})");
}

}  // namespace
}  // namespace kestrane::alpaca
