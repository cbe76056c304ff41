#include "dev/sensor.h"

#include <gmock/gmock.h>

#include <boost/property_tree/ptree.hpp>
#include <stdexcept>

#include "orvo/dev/settings_file.h"
#include "orvo_ui/panel_manager.h"
#include "orvo_ui/variable.h"

using boost::property_tree::ptree;
using dev::CSensor;
using dev::TOrientation;
using dev::TPosition;
using test::Keys;
using testing::ElementsAre;
using ui::wgt::Widget;

namespace {

const hws::Version version = hws::Version::V1_1;

/// A sensor, and what its signals said.
class Sensor : public testing::Test
{
protected:
    Sensor()
    {
        sensor_.position_changed.connect(
            [this](const TPosition<double>& position) { heard_.push_back("position " + position.string()); });
        sensor_.orientation_changed.connect([this](const TOrientation<double>& orientation) {
            heard_.push_back("orientation " + orientation.string());
        });
    }

    Keys Saved(const Keys& into = Keys())
    {
        kt::ini::INIFile file = test::File(into);
        sensor_.SaveParams(file);
        return test::Contents(file);
    }

    CSensor sensor_;
    std::vector<std::string> heard_;
};

}  // namespace

TEST_F(Sensor, AnEmptySectionIsTheOriginAndIsRecorded)
{
    kt::ini::INIFile file = test::File();
    sensor_.LoadParams(file, version);
    EXPECT_THAT(heard_, ElementsAre("position 0, 0, 0", "orientation 0, 0, 0"));
    const std::string zero = "0.0, 0.0, 0.0";
    EXPECT_EQ(test::Contents(file), (Keys{{"VENDOR", ""},
                                          {"MODEL", ""},
                                          {"SERIAL", ""},
                                          {"DESCRIPTION", ""},
                                          {"POSITION", zero},
                                          {"ORIENTATION", zero},
                                          {"RELATIVE POSITION", zero},
                                          {"RELATIVE ORIENTATION", zero}}));
    EXPECT_EQ(Saved(), (Keys{{"POSITION", "0, 0, 0"}, {"ORIENTATION", "0, 0, 0"}}));
}

TEST_F(Sensor, LoadsAndSavesThePoseAndTheRelativeKeysOnlyWithAName)
{
    const Keys pose{{"POSITION", "1.5, -2, 0.25"},
                    {"ORIENTATION", "7, 0.1, -0.2"},
                    {"RELATIVE TO", "Left camera"},
                    {"RELATIVE POSITION", "0.12, 0, 1e-07"},
                    {"RELATIVE ORIENTATION", "0, 0, 3.14159"}};
    kt::ini::INIFile file = test::File(pose);
    sensor_.LoadParams(file, version);
    EXPECT_EQ(sensor_.Orientation().yaw, 7.0);
    EXPECT_EQ(sensor_.RelativeTo(), "Left camera");
    EXPECT_EQ(Saved(), pose);

    kt::ini::INIFile absolute = test::File({{"RELATIVE POSITION", "1, 2, 3"}});
    sensor_.LoadParams(absolute, version);
    EXPECT_EQ(sensor_.RelativeTo(), "") << "the name of the load before is gone";
    EXPECT_EQ(sensor_.RelativePosition().y, 2.0) << "read without a name as well";
    EXPECT_EQ(Saved(pose).at("RELATIVE POSITION"), "0.12, 0, 1e-07") << "what the file holds stays";
}

TEST_F(Sensor, ABadPoseStopsTheLoadWithWhatWasReadBeforeInPlace)
{
    const std::pair<const char*, std::size_t> signals_before[] = {
        {"POSITION", 0}, {"ORIENTATION", 1}, {"RELATIVE POSITION", 2}, {"RELATIVE ORIENTATION", 2}};
    for (const auto& row : signals_before) {
        heard_.clear();
        sensor_.SetVendor("");
        kt::ini::INIFile file = test::File({{row.first, "1, 2, far"}, {"VENDOR", "Maker"}});
        EXPECT_THROW(sensor_.LoadParams(file, version), std::runtime_error) << row.first;
        EXPECT_EQ(heard_.size(), row.second) << row.first;
        EXPECT_EQ(sensor_.Vendor(), "Maker");
    }
}

TEST_F(Sensor, ShutDownDropsTheObservers)
{
    sensor_.Observers().connect([this] { heard_.push_back("device"); });
    sensor_.Observers()();
    EXPECT_THAT(heard_, ElementsAre("device"));
    sensor_.On_ShutDown();
    sensor_.Observers()();
    kt::ini::INIFile file = test::File();
    sensor_.LoadParams(file, version);
    EXPECT_EQ(heard_.size(), 1U);
}

TEST_F(Sensor, ASliderPerFieldWritesItAtOnceAndRaisesNoSignal)
{
    sensor_.On_Initialization();
    ptree tree;
    ui::PanelManagerInstance().Describe(sensor_.CalibrationPanel(), tree);
    const ptree& sizer = tree.get_child("children").front().second;
    const ptree& grid = sizer.get_child("children").front().second;
    EXPECT_EQ(sizer.get<std::string>("kind") + ' ' + grid.get<std::string>("kind"), "vsizer propertygrid");
    std::vector<std::string> sliders;
    for (const auto& category : grid.get_child("children")) {
        for (const auto& child : category.second.get_child("children")) {
            std::string slider = category.second.get<std::string>("attributes.label");
            for (const char* key : {"attributes.label", "limits.min", "limits.max", "limits.step"})
                slider += ' ' + child.second.get<std::string>(key);
            sliders.push_back(slider);
        }
    }
    const std::string length = " -10 10 0.001";
    const std::string angle = " -3.1415926535897931 3.1415926535897931 0.0001";
    EXPECT_THAT(sliders,
                ElementsAre("Position X" + length, "Position Y" + length, "Position Z" + length,
                            "Orientation Roll" + angle, "Orientation Pitch" + angle, "Orientation Yaw" + angle));

    int value = 24;  // outside every range: a slider limits nothing
    for (const Widget& category : sensor_.CalibrationPanel().Children().at(0).Children().at(0).Children())
        for (const Widget& slider : category.Children())
            ui::PanelManagerInstance()
                .Variable(slider.Id())
                ->Set(std::to_string(++value), ui::detail::Access_Internal, 0);
    EXPECT_EQ(sensor_.Position().string(), "25, 26, 27");
    EXPECT_EQ(sensor_.Orientation().string(), "30, 29, 28");
    EXPECT_THAT(heard_, ElementsAre());
}
