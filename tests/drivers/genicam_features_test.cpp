// A camera's features as video properties, against the fake camera in the process with a description that has more.
#include <arv.h>
#include <gmock/gmock.h>

#include <atomic>
#include <boost/filesystem.hpp>
#include <fstream>
#include <thread>

#include "dev/camera/video_property.h"
#include "genicam/auto_mode.h"
#include "genicam/features.h"
#include "orvo_ui/panel_manager.h"
#include "orvo_ui/variable.h"
#include "ui/types.h"

namespace drivers_test {
namespace {

using dev::camera::videoprop::Attribute;
using genicam::CAutoMode;
using genicam::CFeatures;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr unsigned int gain_register = 0x110;
constexpr unsigned int gain_auto_register = 0x114;
constexpr unsigned int temperature_register = 0x400;
constexpr unsigned int gain_off = 1;
constexpr unsigned int gain_continuous = 2;

std::string Register(const std::string& name, const std::string& address, const std::string& access)
{
    return "<IntReg Name=\"" + name + "\"><Address>" + address + "</Address><Length>4</Length><AccessMode>" + access +
           "</AccessMode><pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>BigEndian</Endianess></IntReg>\n";
}

/// The fake's own description, with a step and a unit of the gain, an exposure that the frame rate limits, a lock,
/// a selector, a temperature, features to leave out, and categories that form a ring.
std::string Description()
{
    const std::shared_ptr<ArvFakeCamera> fake(arv_fake_camera_new("TEST"), g_object_unref);
    std::size_t size = 0;
    const char* const original = arv_fake_camera_get_genicam_xml(fake.get(), &size);
    std::string xml(original, size);
    const auto insert = [&xml](const std::string& before, const std::string& text) {
        const std::size_t at = xml.find(before);
        ASSERT_NE(at, std::string::npos) << before;
        xml.insert(at, text);
    };
    insert("<pFeature>Debug</pFeature>", "<pFeature>AnalogControl</pFeature>");
    insert("<pFeature>GainRaw</pFeature>",
           "<pFeature>Inner_Part</pFeature><pFeature>BlackLevel</pFeature>"
           "<pFeature>TestBoolean</pFeature><pFeature>TestRegister</pFeature><pFeature>TestStringReg</pFeature>"
           "<pFeature>Broken</pFeature><pFeature>A=B</pFeature>");
    insert("<pFeature>TestRegister</pFeature>\n\t</Category>", "<pFeature>StructEntry_0_15</pFeature>");
    insert("<pFeature>DeviceVersion</pFeature>", "<pFeature>Temperature</pFeature>");
    insert("<pValue>GainRawRegister</pValue>", "<Unit>dB</Unit><Inc>5</Inc>");
    insert("<Max>10000000.0</Max>", "<pMax>AcquisitionFramePeriod</pMax><!--");
    insert("</Float>\n\n\t<Converter Name=\"ExposureTimeAbsConverter\"", "-->");
    insert("<pValue>TriggerSelectorInteger</pValue>", "<pSelected>TriggerMode</pSelected>");
    insert("<!-- Port -->",
           "<Category Name=\"Inner_Part\"><pFeature>LUTEnable</pFeature><pFeature>Secret</pFeature>"
           "<pFeature>AnalogControl</pFeature></Category>"
           "<Boolean Name=\"LUTEnable\"><pValue>LUTEnableRegister</pValue></Boolean>"
           "<Enumeration Name=\"Broken\"><EnumEntry Name=\"Never\"><Value>77</Value></EnumEntry>"
           "<pValue>BlackLevelRegister</pValue></Enumeration>"
           "<Integer Name=\"A=B\"><Value>1</Value></Integer>"
           "<Integer Name=\"Secret\"><Visibility>Guru</Visibility><Value>1</Value></Integer>"
           "<Integer Name=\"Temperature\"><Unit>C</Unit><pValue>TemperatureRegister</pValue></Integer>"
           "<Integer Name=\"BlackLevel\"><pIsLocked>TLParamsLocked</pIsLocked><pValue>BlackLevelRegister</pValue>"
           "<Min>0</Min><Max>100</Max></Integer>" +
               Register("LUTEnableRegister", "0x404", "RW") + Register("TemperatureRegister", "0x400", "RO") +
               Register("BlackLevelRegister", "0x408", "RW"));
    return xml;
}

class GenicamFeatures : public testing::Test
{
protected:
    GenicamFeatures()
    {
        arv_enable_interface("Fake");
        std::ofstream(file_.string()) << Description();
        arv_set_fake_camera_genicam_filename(file_.c_str());
        Connect();
        features_.reset(new CFeatures(access_, [this](const std::string& text) { told_.push_back(text); }));
        properties_ = features_->Properties();
    }

    ~GenicamFeatures() override
    {
        features_.reset();
        arv_set_fake_camera_genicam_filename(nullptr);
        boost::filesystem::remove(file_);
    }

    /// A camera fresh from the factory.
    void Connect()
    {
        camera_.reset(arv_camera_new("Fake_1", nullptr), g_object_unref);
        access_.Set(camera_.get());
    }

    /// By full name: "Exposure.Time".
    Attribute& At(const std::string& name)
    {
        const std::size_t dot = name.find('.');
        for (const auto& property : properties_)
            if (property->Name() == name.substr(0, dot))
                return property->Attribute(name.substr(dot + 1));
        throw std::runtime_error("no property of " + name);
    }

    void Set(const std::string& name, const std::string& value)
    {
        ui::PanelManagerInstance().Variable(At(name).Id())->Set(value, ui::detail::Access_Label, 0);
    }

    std::string Get(const std::string& name)
    {
        std::string value;
        ui::PanelManagerInstance().Variable(At(name).Id())->Get(value, ui::detail::Access_Label);
        return value;
    }

    std::string ErrorOfSet(const std::string& name, const std::string& value)
    {
        try {
            Set(name, value);
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "accepted";
    }

    bool IsEnabled(const std::string& name) { return At(name).Widget().Attr("enabled") == "TRUE"; }

    ArvDevice* Device() { return arv_camera_get_device(camera_.get()); }
    void Put(unsigned int address, unsigned int value)
    {
        access_.With([&](ArvCamera*) { arv_device_write_register(Device(), address, value, nullptr); });
    }
    unsigned int Peek(unsigned int address)
    {
        unsigned int value = 0;
        access_.With([&](ArvCamera*) { arv_device_read_register(Device(), address, &value, nullptr); });
        return value;
    }
    void Lock() { arv_device_set_integer_feature_value(Device(), "TLParamsLocked", 1, nullptr); }

    /// A tenth of a second after the other.
    void Tend(int times)
    {
        for (; times > 0; --times)
            features_->Tend(now_ += milliseconds(100));
    }

    const boost::filesystem::path file_ =
        boost::filesystem::temp_directory_path() / boost::filesystem::unique_path("orvo-genicam-%%%%%%%%.xml");
    std::shared_ptr<ArvCamera> camera_;
    genicam::CAccess access_;
    std::unique_ptr<CFeatures> features_;
    capture::CSource::VideoProperties properties_;
    std::vector<std::string> told_;
    CFeatures::Clock::time_point now_{std::chrono::hours(1)};
};

TEST_F(GenicamFeatures, AreWhatTheDescriptionHas)
{
    std::vector<std::string> found;
    for (const auto& property : properties_)
        for (auto& attribute : property->Attributes()) {
            const std::string name = property->Name() + "." + attribute.first;
            found.push_back(name + " " + std::to_string(static_cast<int>(attribute.second.Kind())) + " " + Get(name) +
                            attribute.second.Widget().Attr("unit"));
        }
    EXPECT_THAT(
        found,
        ElementsAre("Exposure.Time 15 10000[us]", "Gain.Mode 3 Manual", "Gain.Value 13 0[dB]", "Black Level.Value 13 0",
                    "Frame Rate.Value 15 25[Hz]", "Image.Pixel Format 3 Mono8", "Device.Identity.Model 5 Fake",
                    "Device.Identity.Serial 5 1", "Device.Identity.Vendor 5 Aravis",
                    HasSubstr("Device.Identity.Version 5 "), HasSubstr("Device Control.Device Manufacturer Info 5 "),
                    "Device Control.Temperature 5 0 C", "Image Format Control.Binning Horizontal 5 1",
                    "Image Format Control.Binning Vertical 5 1", "Image Format Control.Sensor Height 5 2048",
                    "Image Format Control.Sensor Width 5 2048", "Acquisition Control.Trigger Activation 3 RisingEdge",
                    "Acquisition Control.Trigger Mode 3 Off", "Acquisition Control.Trigger Selector 3 FrameStart",
                    "Acquisition Control.Trigger Source 3 Line0", "Analog Control.Inner Part.LUT Enable 0 FALSE",
                    "Analog Control.Test Boolean 0 FALSE", "Analog Control.Test Register 13 305419896",
                    HasSubstr("Analog Control.Test String Reg 4 ")));
    EXPECT_THAT(told_, testing::UnorderedElementsAre(HasSubstr("Broken: left out: "), HasSubstr("A=B: left out: ")));
    boost::any limits;
    ui::PanelManagerInstance().Variable(At("Gain.Value").Id())->GetAttribute(limits);
    const auto gain = boost::any_cast<ui::var::types::range<long>::attributes_type>(limits);
    EXPECT_THAT((std::vector<long>{gain.min, gain.max, gain.step}), ElementsAre(0, 10, 5));
}

TEST_F(GenicamFeatures, KeepAndTellWhatTheCameraTookInstead)
{
    std::set<long> updated;
    const std::size_t observer = ui::PanelManagerInstance().Connect([&](long id) { updated.insert(id); });
    told_.clear();
    Set("Exposure.Time", "12.3");
    EXPECT_EQ(Get("Exposure.Time"), "12");
    EXPECT_THAT(told_, ElementsAre("Exposure.Time: asked 12.3 us, the camera took 12 us"));
    EXPECT_EQ(updated, std::set<long>({At("Exposure.Time").Id()}));

    Set("Analog Control.Test String Reg", "any");
    EXPECT_EQ(Get("Analog Control.Test String Reg"), "any");
    EXPECT_EQ(told_.size(), 1U);

    // The value of another feature, because it shares a register.
    updated.clear();
    Set("Analog Control.Test Boolean", "on");
    EXPECT_EQ(Get("Analog Control.Test Register"), "321");
    EXPECT_EQ(updated.count(At("Analog Control.Test Register").Id()), 1U);
    ui::PanelManagerInstance().Disconnect(observer);
}

TEST_F(GenicamFeatures, RefuseWhatTheCameraCannotHave)
{
    Set("Frame Rate.Value", "50");
    Lock();
    told_.clear();
    const struct
    {
        const char* name;
        const char* value;
        const char* error;
    } rows[] = {
        {"Exposure.Time", "20001", "Exposure.Time: found 20001 us, wanted 10 to 20000 us"},
        {"Exposure.Time", "nan", "Exposure.Time: found nan us, wanted 10 to 20000 us"},
        {"Gain.Value", "-5", "Gain.Value: found -5 dB, wanted 0 to 10 dB in steps of 5 dB"},
        {"Gain.Value", "7", "Gain.Value: found 7 dB, wanted 0 to 10 dB in steps of 5 dB"},
        {"Image.Pixel Format", "Mono16", "to have another, change FB"},
        {"Black Level.Value", "1", "Black Level.Value: found a feature that the camera has locked"},
        {"Device.Identity.Model", "Better", "Device.Identity.Model: found Better, wanted nothing"},
        {"Analog Control.Test String Reg", "a text that is longer than the register", "39 bytes, wanted at most 32"},
    };
    for (const auto& row : rows) {
        const std::string before = Get(row.name);
        EXPECT_THAT(ErrorOfSet(row.name, row.value), HasSubstr(row.error));
        EXPECT_EQ(Get(row.name), before) << row.name;
    }
    EXPECT_EQ(ErrorOfSet("Image.Pixel Format", "Mono8"), "accepted");
    EXPECT_EQ(ErrorOfSet("Black Level.Value", "0"), "accepted") << "it is that already";
    EXPECT_TRUE(told_.empty());
}

TEST_F(GenicamFeatures, FollowTheCameraWhileItGovernsThem)
{
    Set("Gain.Mode", "Auto");
    EXPECT_EQ(Peek(gain_auto_register), gain_continuous);
    EXPECT_FALSE(IsEnabled("Gain.Value"));
    EXPECT_EQ(ErrorOfSet("Gain.Value", "5"), "Gain.Value: found Gain.Mode Auto, wanted Manual");

    Put(gain_register, 10);
    Put(temperature_register, 41);
    Tend(50);
    EXPECT_EQ(Get("Gain.Value"), "10");
    EXPECT_EQ(Get("Device Control.Temperature"), "41 C");

    Put(gain_auto_register, gain_off);
    Tend(3);
    EXPECT_EQ(Get("Gain.Mode"), "Manual");
    EXPECT_TRUE(IsEnabled("Gain.Value"));
}

TEST_F(GenicamFeatures, EndOnceThatTheCameraDoesNotEnd)
{
    told_.clear();
    Set("Gain.Mode", "Once");
    EXPECT_FALSE(IsEnabled("Gain.Value"));
    for (unsigned int gain : {5U, 10U, 5U}) {
        Put(gain_register, gain);
        Tend(15);
        EXPECT_EQ(Get("Gain.Mode"), "Once");
    }
    Tend(10);
    EXPECT_EQ(Get("Gain.Mode"), "Manual");
    EXPECT_EQ(Peek(gain_auto_register), gain_off);
    EXPECT_TRUE(IsEnabled("Gain.Value"));
    EXPECT_TRUE(told_.empty());

    Set("Gain.Mode", "Once");
    for (int i = 0; i < 110; ++i) {
        Put(gain_register, i % 20 < 10 ? 10 : 0);
        Tend(1);
    }
    EXPECT_EQ(Peek(gain_auto_register), gain_off);
    EXPECT_THAT(told_, ElementsAre("Gain.Mode: Once took longer than 10 s and was ended"));
}

TEST_F(GenicamFeatures, AreAskedAgainOfACameraThatCameBack)
{
    Set("Acquisition Control.Trigger Mode", "On");
    Set("Acquisition Control.Trigger Selector", "AcquisitionStart");
    Set("Frame Rate.Value", "10");
    Set("Exposure.Time", "100000");
    Set("Black Level.Value", "7");
    Set("Gain.Value", "10");
    told_.clear();

    Connect();
    Put(gain_auto_register, gain_continuous);
    Lock();
    features_->Reapply();
    EXPECT_THAT(told_, ElementsAre(HasSubstr("Black Level.Value: found a feature that the camera has locked")));
    EXPECT_EQ(Peek(gain_register), 10U);
    EXPECT_EQ(Peek(gain_auto_register), gain_off);
    EXPECT_EQ(Get("Exposure.Time"), "100000");
    EXPECT_EQ(Get("Black Level.Value"), "0");
    EXPECT_EQ(Get("Acquisition Control.Trigger Mode"), "Off") << "of the other selector";
    Set("Acquisition Control.Trigger Selector", "FrameStart");
    EXPECT_EQ(Get("Acquisition Control.Trigger Mode"), "On");

    // Automatic from now on: the camera chooses where to begin.
    Set("Gain.Mode", "Auto");
    Connect();
    features_->Reapply();
    EXPECT_EQ(Peek(gain_auto_register), gain_continuous);
    EXPECT_EQ(Peek(gain_register), 0U);
    EXPECT_EQ(Get("Gain.Value"), "0");
    EXPECT_FALSE(IsEnabled("Gain.Value"));

    // What the camera had found stays: of a Once that was cut off, and of an Auto that the user ended.
    Set("Gain.Mode", "Once");
    Put(gain_register, 5);
    Tend(3);
    Connect();
    features_->Reapply();
    EXPECT_EQ(Get("Gain.Mode"), "Manual");
    EXPECT_EQ(Peek(gain_register), 5U);
    Set("Gain.Mode", "Auto");
    Put(gain_register, 10);
    Set("Gain.Mode", "Manual");
    Connect();
    features_->Reapply();
    EXPECT_EQ(Peek(gain_register), 10U);
}

TEST_F(GenicamFeatures, OutliveTheCamera)
{
    Set("Exposure.Time", "500");
    access_.Set(nullptr);
    EXPECT_THAT(ErrorOfSet("Exposure.Time", "600"), HasSubstr("Exposure.Time: found no camera"));
    features_->Reapply();
    Tend(50);
    features_.reset();
    EXPECT_EQ(ErrorOfSet("Exposure.Time", "600"),
              "Exposure.Time: found a source that is closed, wanted one that is open");
    EXPECT_EQ(Get("Exposure.Time"), "500");
}

TEST_F(GenicamFeatures, AreSetOnOneThreadAndTendedOnAnother)
{
    std::atomic<bool> done{false};
    const std::size_t observer = ui::PanelManagerInstance().Connect([&](long) { Get("Gain.Value"); });
    std::thread tender([&] {
        while (!done)
            Tend(10);
    });
    for (int i = 0; i < 20; ++i) {
        Set("Gain.Mode", "Once");
        Put(gain_register, i % 2 == 0 ? 5 : 10);
        Set("Gain.Mode", "Manual");
        Set("Gain.Value", "0");
        EXPECT_EQ(Get("Gain.Value"), "0");
    }
    done = true;
    tender.join();
    ui::PanelManagerInstance().Disconnect(observer);
}

TEST(AutoMode, CountsAnewWithEachOnceAndEachMove)
{
    using Mode = CAutoMode::Type;
    using Outcome = CAutoMode::Outcome;
    CAutoMode::Time now{};
    CAutoMode mode(Mode::Auto);
    const auto saw = [&](int milli, double value) {
        return mode.Saw(now += milliseconds(milli), Mode::Once, value, 1.0);
    };
    mode.Asked(Mode::Once);
    EXPECT_EQ(saw(60000, 10.0), Outcome::Same);
    EXPECT_EQ(saw(1900, 11.0), Outcome::Same);
    EXPECT_EQ(saw(50, 12.0), Outcome::Same) << "a slow drift is a move";
    EXPECT_EQ(saw(1900, 12.0), Outcome::Same);
    mode.Asked(Mode::Once);
    EXPECT_EQ(saw(1900, 12.0), Outcome::Same);
    EXPECT_EQ(saw(2000, 12.0), Outcome::Settled);
}

}  // namespace
}  // namespace drivers_test
