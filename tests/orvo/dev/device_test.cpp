#include "dev/device.h"

#include <gmock/gmock.h>

#include "orvo/dev/settings_file.h"
#include "orvo_ui/panel_manager.h"
#include "orvo_ui/variable.h"

using dev::CDevice;
using test::Keys;
using testing::ElementsAre;
using ui::wgt::Widget;

namespace {

const hws::Version version = hws::Version::V1_1;

}  // namespace

TEST(Device, EachSetterSetsItsPropertyAndWhatWasNeverSetIsTheOneEmptyText)
{
    const struct
    {
        const char* key;
        void (CDevice::*set)(const std::string&);
        const std::string& (CDevice::*get)() const;
    } rows[] = {{"Name", &CDevice::Rename, &CDevice::Name},
                {"Vendor", &CDevice::SetVendor, &CDevice::Vendor},
                {"Model", &CDevice::SetModel, &CDevice::Model},
                {"Serial", &CDevice::SetSerial, &CDevice::Serial},
                {"Interface", &CDevice::SetInterface, &CDevice::Interface},
                {"Description", &CDevice::SetDescription, &CDevice::Description}};
    CDevice device;
    for (const auto& row : rows) {
        EXPECT_EQ(&(device.*row.get)(), &CDevice::prop_not_found) << row.key;
        (device.*row.set)("");
        EXPECT_NE(&(device.*row.get)(), &CDevice::prop_not_found) << "present and empty";
        (device.*row.set)(row.key);
    }
    for (const auto& row : rows) {
        EXPECT_EQ((device.*row.get)(), row.key);
        EXPECT_EQ(device.GetPropertyValue(row.key), row.key);
    }
}

TEST(Device, LoadsAndSavesItsIdentityAndRecordsWhatIsMissing)
{
    kt::ini::INIFile file = test::File({{"VENDOR", "Maker"}, {"SERIAL", "007"}, {"NAME", "not read"}});
    CDevice device;
    device.Rename("front");
    device.SetModel("from before");
    device.LoadParams(file, version);
    EXPECT_EQ(device.Vendor() + device.Model() + device.Serial() + device.Name(), "Maker007front");
    EXPECT_EQ(test::Contents(file),
              (Keys{{"VENDOR", "Maker"}, {"SERIAL", "007"}, {"NAME", "not read"}, {"MODEL", ""}, {"DESCRIPTION", ""}}));

    kt::ini::INIFile saved = test::File();
    device.SaveParams(saved, version);
    EXPECT_EQ(test::Contents(saved),
              (Keys{{"VENDOR", "Maker"}, {"MODEL", ""}, {"SERIAL", "007"}, {"DESCRIPTION", ""}}));
    kt::ini::INIFile recording = test::File();
    device.Recording_SaveParams(recording, version);
    EXPECT_EQ(test::Contents(recording), (Keys{{"SERIAL", "007"}}));
}

TEST(Device, ThePanelIsAGridOfLabelsAndTextBoxesOfTheIdentity)
{
    CDevice device;
    EXPECT_THAT(device.DevicePanel().Children(), testing::IsEmpty());
    device.On_Initialization();
    device.On_Initialization();  // replaces the first
    ASSERT_EQ(device.DevicePanel().Children().size(), 1U);
    const Widget sizer = device.DevicePanel().Children()[0];
    const Widget grid = sizer.Children().at(0);
    EXPECT_EQ(sizer.Kind() + ' ' + grid.Kind(), "hsizer gridsizer");

    std::vector<std::string> cells;
    for (const Widget& cell : grid.Children()) {
        const Widget content = cell.Children().at(0);
        cells.push_back(cell.Attr("row") + cell.Attr("column") + ' ' + cell.Attr("hexpand") + cell.Attr("vexpand") +
                        ' ' + content.Kind() + ' ' + content.Attr("label") + content.Attr("multiline"));
        if (cell.Attr("column") == "1")
            ui::PanelManagerInstance().Variable(content.Id())->Set(cell.Attr("row"), ui::detail::Access_Internal, 0);
    }
    EXPECT_THAT(cells, ElementsAre("00 00 text Name", "01 01 textbox FALSE", "10 00 text Vendor", "11 01 textbox FALSE",
                                   "20 00 text Model", "21 01 textbox FALSE", "30 00 text Serial",
                                   "31 01 textbox FALSE", "40 00 text Description", "41 01 textbox FALSE"));
    EXPECT_EQ(device.Name() + device.Vendor() + device.Model() + device.Serial() + device.Description(), "01234");
    EXPECT_EQ(CDevice::prop_not_found, "") << "a property that was absent got a text of its own";
}
