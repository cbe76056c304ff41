#include "dev/camera/video_property.h"

#include <gmock/gmock.h>

#include <boost/make_shared.hpp>
#include <sstream>

#include "orvo/camera/camera_fixture.h"
#include "orvo_ui/panel_manager.h"

namespace {

using namespace dev::camera::videoprop::attribute;
using dev::camera::VideoProperty;
using dev::camera::videoprop::Attribute;
using testing::ElementsAre;
using ui::detail::Access_Label;

boost::shared_ptr<ui::detail::Serializable> Variable(long id)
{
    return ui::PanelManagerInstance().Variable(id);
}

/// "kind(attribute=value …)", and behind it the children in braces.
std::string Draw(const ui::wgt::Widget& widget)
{
    std::string text = widget.Kind() + '(';
    for (const auto& attribute : widget.Attributes())
        text += (text.back() == '(' ? "" : " ") + attribute.first + '=' + attribute.second;
    text += ')';
    for (const ui::wgt::Widget& child : widget.Children())
        text += '{' + Draw(child) + '}';
    return text;
}

// The driver's functions: they write and read a field.
template <typename T>
boost::function<void(T)> Set(T& field)
{
    return [&field](T value) { field = value; };
}

template <typename T>
boost::function<T()> Get(T& field)
{
    return [&field] { return field; };
}

class VideoProperties : public test::CameraFixture
{
protected:
    VideoProperties() : connection_(ui::PanelManagerInstance().Connect([this](long) { ++notices; })) {}
    ~VideoProperties() override { ui::PanelManagerInstance().Disconnect(connection_); }

    Attribute TextOf(const std::string& name) { return Text(name, Set(word), Get(word)); }

    template <typename T>
    static int TypeOf()
    {
        return static_cast<int>(Attribute::type_to_attr<T>());
    }

    unsigned char number = 65;
    bool on = false;
    std::string word = "dog";
    mode::Type setting = mode::Type::Once;
    int notices = 0;

private:
    std::size_t connection_;
};

TEST_F(VideoProperties, KindsMakeVariableAndWidget)
{
    const Range<unsigned char> range("Time", Set(number), Get(number), 1, 100, 5, "ms");
    const struct
    {
        std::function<Attribute()> make;
        int type, notices;
        const char *widget, *type_id, *before, *set;
    } rows[] = {
        {[&] { return Range<unsigned char>("Time", Set(number), Get(number), 1, 100, 5, "ms"); }, 6, 1,
         "slider(enabled=TRUE hexpand=1 label=Time unit=[ms] vexpand=0)", "range<uint8>", "65", "200"},
        {[&] { return Switch("On", Set(on), Get(on)); }, 0, 0, "checkbox(enabled=TRUE hexpand=0 label=On)",
         "value<bool>", "FALSE", "TRUE"},
        {[&] {
             return Choice("Pet", Set(word), Get(word), std::vector<std::string>{"cat", "dog"});
         },
         3, 1, "combobox(enabled=TRUE hexpand=0 label=Pet vexpand=0)", "collection<string>", "dog", "cat"},
        {[&] { return Text("Note", Set(word), Get(word)); }, 4, 0,
         "textbox(enabled=TRUE hexpand=1 label=Note vexpand=0)", "value<string>", "cat", "any, thing"},
        {[&] { return Label("Note", Set(word), Get(word)); }, 5, 0,
         "textbox(enabled=FALSE hexpand=1 label=Note vexpand=0)", "value<string>", "any, thing", "b"},
        {[&] {
             return Mode(std::vector<mode::Type>{mode::Type::Auto, mode::Type::Once}, Set(setting), Get(setting));
         },
         3, 1, "combobox(enabled=TRUE hexpand=0 label=Mode vexpand=0)", "collection<string>", "Once", "Auto"},
    };
    for (const auto& row : rows) {
        notices = 0;
        Attribute attribute = row.make();
        EXPECT_EQ(notices, row.notices) << row.widget;
        EXPECT_EQ(static_cast<int>(attribute.Kind()), row.type);
        EXPECT_EQ(Draw(attribute.Widget()), row.widget);
        EXPECT_EQ(attribute.Widget().Id(), attribute.Id());
        ui::detail::Serializable& variable = *Variable(attribute.Id());
        EXPECT_EQ(variable.GetTypeID(), row.type_id);
        std::string text;
        variable.Get(text, Access_Label);
        EXPECT_EQ(text, row.before);
        variable.Set(std::string(row.set), Access_Label, 0);
        variable.Get(text, Access_Label);
        EXPECT_EQ(text, row.set);
        attribute.Update();
        EXPECT_EQ(notices, row.notices + 1);
        attribute.Enabled(false);
        EXPECT_EQ(attribute.Widget().Attr("enabled"), "FALSE");
    }
    boost::any limits;
    Variable(range.Id())->GetAttribute(limits);
    const auto held = boost::any_cast<ui::var::types::range<unsigned char>::attributes_type>(limits);
    EXPECT_THAT((std::vector<int>{held.min, held.max, held.step}), ElementsAre(1, 100, 5));
    EXPECT_EQ(Range<int>("x", {}, {}, 0, 1, 1, "").Widget().Attributes().count("unit"), 0U);
    EXPECT_THAT((std::vector<int>{TypeOf<bool>(), TypeOf<unsigned short>(), TypeOf<unsigned int>(),
                                  TypeOf<unsigned long>(), TypeOf<signed char>(), TypeOf<short>(), TypeOf<int>(),
                                  TypeOf<long>(), TypeOf<float>(), TypeOf<double>()}),
                ElementsAre(2, 7, 8, 9, 10, 11, 12, 13, 14, 15));
}

TEST_F(VideoProperties, ModesAreThoseAllowedInTheirOrder)
{
    const Mode allowed({mode::Type::Auto, mode::Type::Manual}, Set(setting), Get(setting));
    EXPECT_EQ(allowed.Values(), "Auto, Manual");
    boost::any labels;
    Variable(allowed.Id())->GetAttribute(labels);
    EXPECT_THAT(boost::any_cast<std::vector<std::string>>(labels), ElementsAre("Auto", "Manual"));
    EXPECT_THROW(Mode({static_cast<mode::Type>(3)}, {}, {}), std::out_of_range);
    EXPECT_EQ(mode::Label(static_cast<mode::Type>(1)) + mode::Label(static_cast<mode::Type>(2)), "AutoOnce");

    std::istringstream stream("Auto");
    stream >> setting;
    EXPECT_EQ(setting, mode::Type::Once) << "reads nothing";
}

TEST_F(VideoProperties, DottedNamesShareGroups)
{
    VideoProperty property("Colour", nullptr);
    for (const char* name : {"Tint", "White.Red", "White.Auto.Speed", "White.Blue", "Tint"})
        property.AddAttribute(TextOf(name));
    const auto box = [](const std::string& name) {
        return "{textbox(enabled=TRUE hexpand=1 label=" + name + " vexpand=0)}";
    };
    EXPECT_EQ(Draw(property.Panel()),
              "panel(label=Colour visible=FALSE)" + box("Tint") + "{propertygroup(label=White)" + box("White.Red") +
                  "{propertygroup(label=Auto)" + box("White.Auto.Speed") + "}" + box("White.Blue") + "}" + box("Tint"));
    EXPECT_EQ(property.Attributes().size(), 4U);
    EXPECT_EQ(property.Attribute("Tint").Widget(), property.Panel().Children().front())
        << "the first of its name stays";
    try {
        property.Attribute("White");
        FAIL() << "a group is no attribute";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(),
                     "video property Colour: found no attribute \"White\", wanted one of: Tint, White.Auto.Speed, "
                     "White.Blue, White.Red");
    }
}

TEST_F(VideoProperties, NothingCallsTheDriverOnceThePropertyIsGone)
{
    auto property = boost::make_shared<VideoProperty>("Colour", nullptr);
    property->AddAttribute(TextOf("White.Red"));
    const long id = property->Attribute("White.Red").Id();
    camera.AddVideoProperty(property);
    const ui::wgt::Widget front_end = property->Panel();
    property.reset();
    EXPECT_TRUE(Variable(id));
    camera.ClearVideoProperties();
    EXPECT_FALSE(Variable(id));
    EXPECT_TRUE(front_end.Children().empty());
}

TEST_F(VideoProperties, ACameraFindsTheFirstOfAName)
{
    for (const char* name : {"Exposure", "Gain", "Gain"})
        camera.AddVideoProperty(boost::make_shared<VideoProperty>(name, nullptr));
    EXPECT_EQ(camera.VideoProperty("Gain").value(), camera.VideoProperties()[1]);
    EXPECT_EQ(console.Take(), "");
    EXPECT_FALSE(camera.VideoProperty("gain"));
    EXPECT_EQ(console.Take(), "[WW] ::CCamera: Video property gain not found\n");
}

}  // namespace
