#include "dev/device.h"

#include <gmock/gmock.h>

#include <boost/property_tree/ptree.hpp>

#include "orvo/dev/settings_file.h"
#include "orvo_ui/panel_manager.h"
#include "orvo_ui/variable.h"

using dev::CDevice;
using testing::ElementsAre;
using testing::IsEmpty;
using ui::detail::Access_Internal;
using ui::wgt::Widget;

namespace {

const hws::Version version = hws::Version::V1_1;

std::string Shown(const Widget& box)
{
    std::string text;
    ui::PanelManagerInstance().Variable(box.Id())->Get(text, Access_Internal);
    return text;
}

/// The text boxes of a device's panel, top to bottom.
std::vector<Widget> Boxes(const CDevice& device)
{
    std::vector<Widget> boxes;
    for (const Widget& cell : device.DevicePanel().Children().at(0).Children().at(0).Children()) {
        if (cell.Attr("column") == "1")
            boxes.push_back(cell.Children().at(0));
    }
    return boxes;
}

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
        (device.*row.set)("a.dotted text");
        (device.*row.set)("");
        EXPECT_EQ((device.*row.get)(), "") << row.key;
        EXPECT_NE(&(device.*row.get)(), &CDevice::prop_not_found) << "present and empty";
        (device.*row.set)(row.key);
    }
    for (const auto& row : rows) {
        EXPECT_EQ((device.*row.get)(), row.key);
        EXPECT_EQ(device.GetPropertyValue(row.key), row.key);
    }
    EXPECT_EQ(&device.GetPropertyValue("name"), &CDevice::prop_not_found);
    EXPECT_EQ(CDevice::prop_not_found, "");
}

TEST(Device, LoadsItsIdentityAndRecordsWhatIsMissing)
{
    test::SettingsFile file(test::Keys{{"VENDOR", "Maker"}, {"SERIAL", "007"}, {"NAME", "not read"}});
    CDevice device;
    device.Rename("front");
    device.SetInterface("eth0");
    device.SetModel("from before");
    device.LoadParams(file.ini, version);

    EXPECT_EQ(device.Vendor(), "Maker");
    EXPECT_EQ(device.Model(), "");
    EXPECT_NE(&device.Model(), &CDevice::prop_not_found);
    EXPECT_EQ(device.Serial(), "007");
    EXPECT_EQ(device.Name(), "front");
    EXPECT_EQ(device.Interface(), "eth0");
    EXPECT_EQ(
        file.Content(),
        (test::Keys{{"VENDOR", "Maker"}, {"SERIAL", "007"}, {"NAME", "not read"}, {"MODEL", ""}, {"DESCRIPTION", ""}}));
}

TEST(Device, SavesFourKeysAndForARecordingTheSerialAlone)
{
    CDevice device;
    device.Rename("front");
    device.SetInterface("eth0");
    device.SetVendor("Maker");
    test::SettingsFile file;
    device.SaveParams(file.ini, version);
    EXPECT_THAT(file.ini.Keys(), ElementsAre("VENDOR", "MODEL", "SERIAL", "DESCRIPTION"));
    EXPECT_EQ(file.Content().at("VENDOR"), "Maker");

    test::SettingsFile recording;
    device.Recording_SaveParams(recording.ini, version);
    EXPECT_EQ(recording.Content(), (test::Keys{{"SERIAL", ""}}));
}

TEST(Device, ThePanelIsAGridOfLabelsAndTextBoxes)
{
    CDevice device;
    EXPECT_EQ(device.DevicePanel().Kind(), "panel");
    EXPECT_EQ(device.DevicePanel().Attr("label"), "Device");
    EXPECT_EQ(device.DevicePanel().Attr("visible"), "FALSE");
    EXPECT_THAT(device.DevicePanel().Children(), IsEmpty());
    device.On_Initialization();

    ASSERT_EQ(device.DevicePanel().Children().size(), 1U);
    const Widget sizer = device.DevicePanel().Children()[0];
    EXPECT_EQ(sizer.Kind(), "hsizer");
    EXPECT_EQ(sizer.Attr("hexpand") + sizer.Attr("vexpand"), "11");
    ASSERT_EQ(sizer.Children().size(), 1U);
    const Widget grid = sizer.Children()[0];
    EXPECT_EQ(grid.Kind(), "gridsizer");
    EXPECT_EQ(grid.Attr("hgap") + grid.Attr("vgap") + grid.Attr("hexpand") + grid.Attr("vexpand"), "0011");

    std::vector<std::string> cells;
    for (const Widget& cell : grid.Children()) {
        const Widget content = cell.Children().at(0);
        cells.push_back(cell.Attr("row") + cell.Attr("column") + ' ' + cell.Attr("hexpand") + cell.Attr("vexpand") +
                        ' ' + cell.Attr("row_span") + cell.Attr("column_span") + ' ' + content.Kind() + ' ' +
                        content.Attr("label") + content.Attr("multiline"));
    }
    EXPECT_THAT(cells, ElementsAre("00 00 11 text Name", "01 01 11 textbox FALSE",    //
                                   "10 00 11 text Vendor", "11 01 11 textbox FALSE",  //
                                   "20 00 11 text Model", "21 01 11 textbox FALSE",   //
                                   "30 00 11 text Serial", "31 01 11 textbox FALSE",  //
                                   "40 00 11 text Description", "41 01 11 textbox FALSE"));
}

TEST(Device, ThePanelReadsAndWritesTheIdentity)
{
    CDevice device;
    device.Rename("front");
    device.SetVendor("Maker");
    device.On_Initialization();
    const std::vector<Widget> boxes = Boxes(device);
    ASSERT_EQ(boxes.size(), 5U);
    EXPECT_EQ(Shown(boxes[0]), "front");
    EXPECT_EQ(Shown(boxes[1]), "Maker");
    EXPECT_EQ(Shown(boxes[2]), "");

    for (std::size_t i = 0; i < boxes.size(); ++i)
        ui::PanelManagerInstance().Variable(boxes[i].Id())->Set(std::to_string(i), Access_Internal, 0);
    EXPECT_EQ(device.Name() + device.Vendor() + device.Model() + device.Serial() + device.Description(), "01234");
    EXPECT_EQ(CDevice::prop_not_found, "") << "a property that was absent got a text of its own";
    EXPECT_EQ(CDevice().Model(), "");
}

TEST(Device, ASecondInitializationReplacesTheFirst)
{
    CDevice device;
    device.On_Initialization();
    const long old_id = Boxes(device)[0].Id();
    device.On_Initialization();
    EXPECT_EQ(device.DevicePanel().Children().size(), 1U);
    EXPECT_EQ(ui::PanelManagerInstance().Variable(old_id), nullptr);
}

TEST(Device, ShutDownDropsTheObservers)
{
    CDevice device;
    int heard = 0;
    device.Observers().connect([&heard] { ++heard; });
    device.Observers()();
    device.On_ShutDown();
    device.Observers()();
    EXPECT_EQ(heard, 1);
}
