#include "conformance/settings.h"

#include <algorithm>
#include <boost/property_tree/ptree.hpp>
#include <cmath>
#include <stdexcept>

#include "base/number_text.h"
#include "conformance/run.h"
#include "dev/camera/video_property.h"
#include "orvo_ui/panel_manager.h"

namespace conformance {

namespace {

using Type = dev::camera::videoprop::Attribute::Type;

boost::shared_ptr<ui::detail::Serializable> Variable(long id)
{
    const auto variable = ui::PanelManagerInstance().Variable(id);
    if (!variable)
        throw failed("found no variable, wanted one as long as the source is there");
    return variable;
}

struct TLimits
{
    double min;
    double max;
    double step;
};

TLimits Limits(long id)
{
    boost::property_tree::ptree tree;
    Variable(id)->GetAttribute(tree);
    const auto number = [&tree](const char* name) { return base::ParseNumber<double>(tree.get<std::string>(name)); };
    return {number("min"), number("max"), number("step")};
}

/// How far from one value to another that makes a difference, in whole steps.
double Stride(const TLimits& limits, double share, bool integer)
{
    const double step = limits.step > 0.0 ? limits.step : integer ? 1.0 : 0.0;
    const double stride = (limits.max - limits.min) * share;
    return step > 0.0 ? step * std::max(1.0, std::ceil(stride / step)) : stride;
}

std::string ReadFirst(const CSetting& setting)
{
    try {
        return setting.Read();
    } catch (const std::exception& error) {
        throw failed(setting.Name() + ": " + error.what());
    }
}

/// Writes, and expects a refusal that changes nothing.
void TryRefused(const CSetting& setting, const std::string& number, const std::string& before)
{
    try {
        setting.Write(number);
    } catch (const std::exception&) {
        const std::string after = setting.Read();
        if (after != before)
            throw failed("found \"" + after + "\" once " + number + " was refused, wanted \"" + before +
                         "\" as before");
        return;
    }
    throw failed("found that " + number + " was taken, wanted it refused: it is outside the limits");
}

void TryOut(const CSetting& setting, const std::string& before)
{
    setting.Write(before);
    const std::string after = setting.Read();
    if (after != before)
        throw failed("found \"" + after + "\", wanted \"" + before + "\", its own value, taken again");
    if (!setting.IsNumber())
        return;
    for (const std::string& number : setting.OutsideLimits())
        TryRefused(setting, number, before);
}

}  // namespace

CSetting::CSetting(const std::string& property, const dev::camera::videoprop::Attribute& attribute)
    : name_(property + "." + attribute.Name()), attribute_(attribute)
{
}

/// A signed char is a byte of text, not a number.
bool CSetting::IsNumber() const
{
    return attribute_.Kind() >= Type::UnsignedChar && attribute_.Kind() != Type::SignedChar;
}

bool CSetting::IsInteger() const
{
    return attribute_.Kind() < Type::Float;
}

bool CSetting::IsSettable() const
{
    return attribute_.Kind() != Type::Label && attribute_.Widget().Attr("enabled") != "FALSE";
}

std::string CSetting::Read() const
{
    std::string text;
    Variable(attribute_.Id())->Get(text, ui::detail::Access_Label);
    return text;
}

void CSetting::Write(const std::string& text) const
{
    Variable(attribute_.Id())->Set(text, ui::detail::Access_Label, 0);
}

std::string CSetting::Text(double number) const
{
    if (!IsInteger())
        return attribute_.Kind() == Type::Float ? base::ExactText(static_cast<float>(number)) : base::ExactText(number);
    return number < 0.0 ? base::ExactText(static_cast<long long>(number))
                        : base::ExactText(static_cast<unsigned long long>(number));
}

std::vector<std::string> CSetting::OutsideLimits() const
{
    constexpr double most = 1e18;  // beyond it, the limits are those of the type
    const TLimits limits = Limits(attribute_.Id());
    const double stride = Stride(limits, 0.01, IsInteger());
    std::vector<std::string> numbers;
    const bool has_negatives = attribute_.Kind() >= Type::Short;
    if (limits.min > -most && (has_negatives || limits.min >= stride))
        numbers.push_back(Text(limits.min - stride));
    if (limits.max < most)
        numbers.push_back(Text(limits.max + stride));
    return numbers;
}

std::string CSetting::Neighbour() const
{
    const TLimits limits = Limits(attribute_.Id());
    const std::string text = Read();
    const double value = base::ParseNumber<double>(text);
    const double stride = Stride(limits, 0.001, IsInteger());
    for (const double number : {value + stride, value - stride})
        if (number >= limits.min && number <= limits.max)
            return Text(number);
    return text;
}

std::vector<CSetting> Settings(capture::CSource& source)
{
    std::vector<CSetting> settings;
    for (const auto& property : source.Properties())
        for (const auto& entry : property->Attributes())
            if (entry.second.Kind() != Type::Group)
                settings.emplace_back(property->Name(), entry.second);
    return settings;
}

std::string CheckSettings(capture::CSource& source)
{
    std::size_t taken = 0;
    const auto settings = Settings(source);
    for (const CSetting& setting : settings) {
        const std::string before = ReadFirst(setting);
        if (!setting.IsSettable())
            continue;
        try {
            TryOut(setting, before);
            ++taken;
        } catch (const std::exception& error) {
            std::string text = error.what();
            try {
                setting.Write(before);
            } catch (const std::exception& again) {
                text += "; \"" + before + "\" could not be put back: " + again.what();
            }
            throw failed(setting.Name() + ": " + text);
        }
    }
    if (settings.empty())
        throw skipped("the source has none");
    return std::to_string(settings.size()) + " read, " + std::to_string(taken) + " of them taken again, as before";
}

}  // namespace conformance
