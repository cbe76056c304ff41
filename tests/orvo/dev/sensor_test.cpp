#include "dev/sensor.h"

#include <gmock/gmock.h>

#include <boost/property_tree/ptree.hpp>
#include <stdexcept>

#include "orvo/base/decimal_comma.h"
#include "orvo/dev/settings_file.h"
#include "orvo_ui/panel_manager.h"
#include "orvo_ui/variable.h"

using boost::property_tree::ptree;
using dev::CSensor;
using dev::TOrientation;
using dev::TPosition;
using test::Keys;
using test::SettingsFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
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

    /// Loads, and gives what was written to the console.
    std::string Load(SettingsFile& file)
    {
        testing::internal::CaptureStdout();
        try {
            sensor_.LoadParams(file.ini, version);
        } catch (...) {
            testing::internal::GetCapturedStdout();
            throw;
        }
        return testing::internal::GetCapturedStdout();
    }

    /// The slider of a category, by its label.
    Widget Slider(const std::string& label) const
    {
        for (const Widget& category : sensor_.CalibrationPanel().Children().at(0).Children().at(0).Children()) {
            for (const Widget& slider : category.Children()) {
                if (slider.Attr("label") == label)
                    return slider;
            }
        }
        throw std::out_of_range("no slider " + label);
    }

    void Move(const std::string& label, const std::string& value)
    {
        ui::PanelManagerInstance().Variable(Slider(label).Id())->Set(value, ui::detail::Access_Internal, 0);
    }

    CSensor sensor_;
    std::vector<std::string> heard_;
};

}  // namespace

TEST_F(Sensor, AnEmptySectionIsTheOriginAndIsRecorded)
{
    SettingsFile file;
    EXPECT_THAT(Load(file), HasSubstr("RELATIVE TO"));
    EXPECT_THAT(heard_, ElementsAre("position 0, 0, 0", "orientation 0, 0, 0"));
    EXPECT_EQ(sensor_.RelativeTo(), "");

    const std::string zero = "0.0, 0.0, 0.0";
    EXPECT_EQ(file.Content(), (Keys{{"VENDOR", ""},
                                    {"MODEL", ""},
                                    {"SERIAL", ""},
                                    {"DESCRIPTION", ""},
                                    {"POSITION", zero},
                                    {"ORIENTATION", zero},
                                    {"RELATIVE POSITION", zero},
                                    {"RELATIVE ORIENTATION", zero}}));
    SettingsFile saved;
    sensor_.SaveParams(saved.ini);
    EXPECT_EQ(saved.Content(), (Keys{{"POSITION", "0, 0, 0"}, {"ORIENTATION", "0, 0, 0"}}));
}

TEST_F(Sensor, LoadsIdentityAndPoseAndSavesThePose)
{
    const test::CDecimalComma comma;
    const Keys pose{{"POSITION", "1.5, -2, 0.25"},
                    {"ORIENTATION", "7, 0.1, -0.2"},
                    {"RELATIVE TO", "Left camera"},
                    {"RELATIVE POSITION", "0.12, 0, 1e-07"},
                    {"RELATIVE ORIENTATION", "0, 0, 3.14159"}};
    Keys keys = pose;
    keys["SERIAL"] = "42";
    SettingsFile file(keys);
    EXPECT_EQ(Load(file), "");

    EXPECT_EQ(sensor_.Serial(), "42");
    EXPECT_EQ(sensor_.Position().x, 1.5);
    EXPECT_EQ(sensor_.Position().z, 0.25);
    EXPECT_EQ(sensor_.Orientation().yaw, 7.0) << "angles are not normalised";
    EXPECT_EQ(sensor_.Orientation().roll, -0.2);
    EXPECT_EQ(sensor_.RelativeTo(), "Left camera");
    EXPECT_EQ(sensor_.RelativePosition().x, 0.12);
    EXPECT_EQ(sensor_.RelativeOrientation().roll, 3.14159);
    EXPECT_EQ(sensor_.SettingsVersion(), version);

    SettingsFile saved;
    sensor_.SaveParams(saved.ini);
    EXPECT_EQ(saved.Content(), pose);
}

TEST_F(Sensor, WritesTheRelativeKeysOnlyForARelativePose)
{
    SettingsFile relative(Keys{{"RELATIVE TO", "Left camera"}});
    Load(relative);
    SettingsFile saved;
    sensor_.SaveParams(saved.ini);
    EXPECT_EQ(saved.Content().at("RELATIVE TO"), "Left camera");
    EXPECT_EQ(saved.Content().at("RELATIVE POSITION"), "0, 0, 0");
    EXPECT_EQ(saved.Content().at("RELATIVE ORIENTATION"), "0, 0, 0");

    SettingsFile absolute(Keys{{"RELATIVE POSITION", "1, 2, 3"}});
    Load(absolute);
    EXPECT_EQ(sensor_.RelativeTo(), "") << "the name of the load before is gone";
    EXPECT_EQ(sensor_.RelativePosition().y, 2.0) << "read without a name as well";
    sensor_.SaveParams(saved.ini);
    EXPECT_EQ(saved.Content().at("RELATIVE TO"), "Left camera") << "what the file holds stays";
    EXPECT_EQ(saved.Content().at("RELATIVE POSITION"), "0, 0, 0");
}

TEST_F(Sensor, ABadPoseStopsTheLoadWithWhatWasReadBeforeInPlace)
{
    const char* const keys[] = {"POSITION", "ORIENTATION", "RELATIVE POSITION", "RELATIVE ORIENTATION"};
    const std::size_t signals_before[] = {0, 1, 2, 2};
    for (std::size_t i = 0; i < 4; ++i) {
        SCOPED_TRACE(keys[i]);
        SettingsFile file(Keys{{keys[i], "1, 2, far"}, {"VENDOR", "Maker"}});
        heard_.clear();
        sensor_.SetVendor("");
        try {
            Load(file);
            ADD_FAILURE() << "loaded";
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), "[EE] TOrientation - Bad orientation: 1, 2, far");
        }
        EXPECT_EQ(heard_.size(), signals_before[i]);
        EXPECT_EQ(sensor_.Vendor(), "Maker");
    }
}

TEST_F(Sensor, SignalsEveryLoadAndNobodyAfterShutDown)
{
    SettingsFile file;
    int device_heard = 0;
    sensor_.Observers().connect([&device_heard] { ++device_heard; });
    Load(file);
    Load(file);
    EXPECT_EQ(heard_.size(), 4U);
    sensor_.On_ShutDown();
    Load(file);
    sensor_.Observers()();
    EXPECT_EQ(heard_.size(), 4U);
    EXPECT_EQ(device_heard, 0);
}

TEST_F(Sensor, TheCalibrationPanelHasASliderPerField)
{
    EXPECT_EQ(sensor_.CalibrationPanel().Attr("label"), "Calibration");
    EXPECT_EQ(sensor_.CalibrationPanel().Attr("visible"), "FALSE");
    EXPECT_THAT(sensor_.CalibrationPanel().Children(), IsEmpty());
    sensor_.On_Initialization();
    EXPECT_EQ(sensor_.DevicePanel().Children().size(), 1U) << "the device's part is built as well";

    ptree tree;
    ui::PanelManagerInstance().Describe(sensor_.CalibrationPanel(), tree);
    ASSERT_EQ(tree.get_child("children").size(), 1U);
    const ptree& sizer = tree.get_child("children").front().second;
    const ptree& grid = sizer.get_child("children").front().second;
    for (const ptree* room : {&sizer, &grid}) {
        EXPECT_EQ(room->get<std::string>("attributes.hexpand"), "1");
        EXPECT_EQ(room->get<std::string>("attributes.vexpand"), "1");
    }
    EXPECT_EQ(sizer.get<std::string>("kind") + ' ' + grid.get<std::string>("kind"), "vsizer propertygrid");

    std::vector<std::string> sliders;
    for (const auto& category : grid.get_child("children")) {
        EXPECT_EQ(category.second.get<std::string>("kind"), "propertycategory");
        for (const auto& child : category.second.get_child("children")) {
            const ptree& slider = child.second;
            EXPECT_EQ(slider.get<std::string>("kind"), "slider");
            EXPECT_EQ(slider.get_child("attributes").count("unit"), 0U);
            sliders.push_back(category.second.get<std::string>("attributes.label") + ' ' +
                              slider.get<std::string>("attributes.label") + ' ' +
                              slider.get<std::string>("limits.min") + ' ' + slider.get<std::string>("limits.max") +
                              ' ' + slider.get<std::string>("limits.step"));
        }
    }
    const std::string length = " -10 10 0.001";
    const std::string angle = " -3.1415926535897931 3.1415926535897931 0.0001";
    EXPECT_THAT(sliders,
                ElementsAre("Position X" + length, "Position Y" + length, "Position Z" + length,
                            "Orientation Roll" + angle, "Orientation Pitch" + angle, "Orientation Yaw" + angle));
}

TEST_F(Sensor, ASliderWritesItsFieldAtOnceAndRaisesNoSignal)
{
    SettingsFile file(Keys{{"POSITION", "100, 0, 0"}});
    Load(file);
    heard_.clear();
    sensor_.On_Initialization();
    EXPECT_EQ(sensor_.Position().x, 100.0) << "outside the slider's range, and kept";

    Move("X", "-10");
    Move("Y", "10");
    Move("Z", "25");
    Move("Yaw", "3.1415926535897931");
    Move("Pitch", "0.5");
    Move("Roll", "-0.5");
    EXPECT_EQ(sensor_.Position().string(), "-10, 10, 25");
    EXPECT_EQ(sensor_.Orientation().yaw, 3.141592653589793);
    EXPECT_EQ(sensor_.Orientation().string(), "3.14159, 0.5, -0.5");
    EXPECT_THAT(heard_, IsEmpty());
}
