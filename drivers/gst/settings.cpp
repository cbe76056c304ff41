#include "gst/settings.h"

#include <algorithm>
#include <boost/make_shared.hpp>
#include <boost/noncopyable.hpp>
#include <cmath>
#include <limits>
#include <map>
#include <mutex>
#include <stdexcept>

#include "base/number_text.h"
#include "dev/camera/video_property.h"
#include "gst/plan.h"

namespace gst {

namespace {

using dev::camera::VideoProperty;
namespace attribute = dev::camera::videoprop::attribute;

std::string TextOf(bool value)
{
    return value ? "TRUE" : "FALSE";
}
std::string TextOf(const std::string& value)
{
    return "\"" + value + "\"";
}
template <typename T>
std::string TextOf(T value)
{
    return base::ExactText(value);
}

/// One property of one element: "videobalance0.contrast".
template <typename T>
class CSetting : private boost::noncopyable
{
public:
    using Writer = std::function<void(GValue*, const T&)>;
    using Reader = std::function<T(const GValue*)>;

    CSetting(const TElement& element, const GParamSpec* spec, const std::shared_ptr<COutlet>& outlet, Writer writer,
             Reader reader)
        : name_(element.name + "." + spec->name),
          element_(Share(element.element.get())),
          spec_(spec),
          outlet_(outlet),
          writer_(std::move(writer)),
          reader_(std::move(reader)),
          last_(Read())
    {
    }

    T Get()
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (outlet_->IsOpen())
            last_ = Read();
        return last_;
    }

    void Set(const T& wanted)
    {
        if (!outlet_->IsOpen())
            throw std::runtime_error(name_ + ": found a pipeline that has ended, wanted one that is open");
        GValue value = G_VALUE_INIT;
        g_value_init(&value, spec_->value_type);
        writer_(&value, wanted);
        g_object_set_property(G_OBJECT(element_.get()), spec_->name, &value);
        g_value_unset(&value);
        const T taken = Get();
        if (taken != wanted)
            outlet_->Say(name_ + ": asked " + TextOf(wanted) + ", the element took " + TextOf(taken));
    }

    const std::string& Name() const { return name_; }

private:
    T Read() const
    {
        GValue value = G_VALUE_INIT;
        g_value_init(&value, spec_->value_type);
        g_object_get_property(G_OBJECT(element_.get()), spec_->name, &value);
        const T read = reader_(&value);
        g_value_unset(&value);
        return read;
    }

    const std::string name_;
    const CRef<GstElement> element_;
    const GParamSpec* const spec_;
    const std::shared_ptr<COutlet> outlet_;
    const Writer writer_;
    const Reader reader_;
    std::mutex mutex_;
    T last_;
};

/// Adds the property to `to` as an attribute, if it is of a type that there is a kind for.
class CAdder
{
public:
    CAdder(const TElement& element, GParamSpec* spec, const std::shared_ptr<COutlet>& outlet, VideoProperty* to)
        : element_(element), spec_(spec), outlet_(outlet), to_(to)
    {
    }

    void Add() const
    {
        switch (spec_->value_type) {
            case G_TYPE_BOOLEAN:
                return AddSwitch();
            case G_TYPE_INT:
                return AddRange<int, GParamSpecInt>(g_value_set_int, g_value_get_int);
            case G_TYPE_UINT:
                return AddRange<unsigned int, GParamSpecUInt>(g_value_set_uint, g_value_get_uint);
            case G_TYPE_LONG:
                return AddRange<long, GParamSpecLong>(g_value_set_long, g_value_get_long);
            case G_TYPE_ULONG:
                return AddRange<unsigned long, GParamSpecULong>(g_value_set_ulong, g_value_get_ulong);
            case G_TYPE_INT64:
                return AddRange<long, GParamSpecInt64>(g_value_set_int64, g_value_get_int64);
            case G_TYPE_UINT64:
                return AddRange<unsigned long, GParamSpecUInt64>(g_value_set_uint64, g_value_get_uint64);
            case G_TYPE_FLOAT:
                return AddRange<float, GParamSpecFloat>(g_value_set_float, g_value_get_float);
            case G_TYPE_DOUBLE:
                return AddRange<double, GParamSpecDouble>(g_value_set_double, g_value_get_double);
            case G_TYPE_STRING:
                return AddText();
            default:
                if (G_TYPE_IS_ENUM(spec_->value_type))
                    AddChoice();
        }
    }

private:
    template <typename T>
    std::shared_ptr<CSetting<T>> Make(typename CSetting<T>::Writer writer, typename CSetting<T>::Reader reader) const
    {
        return std::make_shared<CSetting<T>>(element_, spec_, outlet_, std::move(writer), std::move(reader));
    }

    void AddSwitch() const
    {
        const auto setting = Make<bool>([](GValue* value, bool on) { g_value_set_boolean(value, on ? TRUE : FALSE); },
                                        [](const GValue* value) { return g_value_get_boolean(value) != FALSE; });
        to_->AddAttribute(attribute::Switch(
            spec_->name, [setting](bool on) { setting->Set(on); }, [setting] { return setting->Get(); }));
    }

    template <typename T, typename Spec, typename Value>
    void AddRange(void (*set)(GValue*, Value), Value (*get)(const GValue*)) const
    {
        const auto& limits = *reinterpret_cast<const Spec*>(spec_);
        const T min = static_cast<T>(limits.minimum);
        const T max = static_cast<T>(limits.maximum);
        const auto setting = Make<T>([set](GValue* value, T number) { set(value, static_cast<Value>(number)); },
                                     [get](const GValue* value) { return static_cast<T>(get(value)); });
        const auto setter = [setting, min, max](T number) {
            if (!(number >= min && number <= max))  // nor is NaN
                throw std::runtime_error(setting->Name() + ": found " + TextOf(number) + ", wanted " + TextOf(min) +
                                         " to " + TextOf(max));
            setting->Set(number);
        };
        to_->AddAttribute(attribute::Range<T>(
            spec_->name, setter, [setting] { return setting->Get(); }, min, max, Step(min, max), ""));
    }

    /// A hundredth of a range of floating-point numbers, where it has an extent.
    template <typename T>
    static T Step(T min, T max)
    {
        const T step = max / 100 - min / 100;
        return std::numeric_limits<T>::is_integer || step >= 1 ? T(1) : step;
    }

    void AddText() const
    {
        const auto setting = MakeText();
        to_->AddAttribute(attribute::Text(
            spec_->name, [setting](const std::string& text) { setting->Set(text); },
            [setting] { return setting->Get(); }));
    }

    std::shared_ptr<CSetting<std::string>> MakeText() const
    {
        return Make<std::string>(
            [](GValue* value, const std::string& text) { g_value_set_string(value, text.c_str()); },
            [](const GValue* value) {
                const gchar* const text = g_value_get_string(value);
                return std::string(text != nullptr ? text : "");
            });
    }

    void AddChoice() const
    {
        const GEnumClass* const values = reinterpret_cast<GParamSpecEnum*>(spec_)->enum_class;
        std::vector<std::string> words;
        std::map<std::string, int> numbers;
        for (guint i = 0; i < values->n_values; ++i) {
            words.push_back(values->values[i].value_nick);
            numbers.emplace(words.back(), values->values[i].value);
        }
        const auto setting = Make<std::string>(
            [numbers](GValue* value, const std::string& word) { g_value_set_enum(value, numbers.at(word)); },
            [numbers](const GValue* value) {
                for (const auto& number : numbers)
                    if (number.second == g_value_get_enum(value))
                        return number.first;
                return std::to_string(g_value_get_enum(value));
            });
        const auto setter = [setting, words](const std::string& word) {
            std::string known;
            for (const std::string& each : words) {
                if (each == word)
                    return setting->Set(word);
                known += (known.empty() ? "" : ", ") + each;
            }
            throw std::runtime_error(setting->Name() + ": found \"" + word + "\", wanted one of " + known);
        };
        to_->AddAttribute(attribute::Choice(
            spec_->name, setter, [setting] { return setting->Get(); }, words));
    }

    const TElement& element_;
    GParamSpec* const spec_;
    const std::shared_ptr<COutlet>& outlet_;
    VideoProperty* const to_;
};

bool IsSetting(const GParamSpec* spec)
{
    const auto flags = static_cast<unsigned int>(spec->flags);
    const unsigned int needed = G_PARAM_READWRITE;
    const unsigned int refused = G_PARAM_CONSTRUCT_ONLY | static_cast<unsigned int>(G_PARAM_DEPRECATED);
    return (flags & needed) == needed && (flags & refused) == 0 &&
           (flags & (GST_PARAM_CONTROLLABLE | GST_PARAM_MUTABLE_PLAYING)) != 0 && !G_TYPE_IS_ABSTRACT(spec->owner_type);
}

}  // namespace

std::vector<TElement> NamedElements(GstBin* bin)
{
    std::vector<TElement> named;
    std::map<std::string, unsigned int> counts;
    for (CRef<GstElement>& element : ElementsOf(bin)) {
        const CRef<gchar> own(gst_object_get_name(GST_OBJECT(element.get())));
        std::string name = own.get();
        const GstElementFactory* const factory = gst_element_get_factory(element.get());
        const std::string kind = factory != nullptr ? GST_OBJECT_NAME(factory) : "";
        // A number that GStreamer gave counts all elements that the process has ever made.
        if (!kind.empty() && name.compare(0, kind.size(), kind) == 0 && name.size() > kind.size() &&
            name.find_first_not_of("0123456789", kind.size()) == std::string::npos)
            name = kind + std::to_string(counts[kind]++);
        std::replace_if(
            name.begin(), name.end(), [](char c) { return c == '.' || c == '='; }, '_');
        named.push_back({name, std::move(element)});
    }
    return named;
}

capture::CSource::VideoProperties SettingsOf(const std::vector<TElement>& elements,
                                             const std::shared_ptr<COutlet>& outlet)
{
    capture::CSource::VideoProperties properties;
    for (const TElement& element : elements) {
        const gchar* const kind = gst_element_get_metadata(element.element.get(), GST_ELEMENT_METADATA_KLASS);
        if (kind == nullptr || g_str_has_prefix(kind, "Generic") != FALSE)
            continue;
        const auto property = boost::make_shared<VideoProperty>(element.name, nullptr);
        guint count = 0;
        GParamSpec** const specs = g_object_class_list_properties(G_OBJECT_GET_CLASS(element.element.get()), &count);
        for (guint i = 0; i < count; ++i)
            if (IsSetting(specs[i]))
                CAdder(element, specs[i], outlet, property.get()).Add();
        g_free(specs);
        if (!property->Attributes().empty())
            properties.push_back(property);
    }
    return properties;
}

}  // namespace gst
