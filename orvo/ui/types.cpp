#include "ui/types.h"

#include <boost/archive/polymorphic_iarchive.hpp>
#include <boost/archive/polymorphic_oarchive.hpp>
#include <boost/serialization/string.hpp>
#include <boost/serialization/vector.hpp>
#include <cmath>
#include <limits>
#include <vector>

#include "base/number_text.h"

namespace ui {
namespace {

/// The line of the table for one type.
template <typename T>
struct TRow
{
    static std::string Name() { return IntegerName(); }
    static std::string From(T value) { return base::ExactText(value); }
    static T Parse(const std::string& source) { return base::ParseNumber<T>(source); }

    static std::string IntegerName()
    {
        const int bits = std::numeric_limits<T>::digits + (std::numeric_limits<T>::is_signed ? 1 : 0);
        return (std::numeric_limits<T>::is_signed ? "int" : "uint") + std::to_string(bits);
    }
};

template <>
std::string TRow<double>::Name()
{
    return "double";
}

template <>
std::string TRow<float>::Name()
{
    return "float";
}

// The sign of a not-a-number tells nobody anything.
template <>
std::string TRow<double>::From(double value)
{
    return std::isnan(value) ? "nan" : base::ExactText(value);
}

template <>
std::string TRow<float>::From(float value)
{
    return std::isnan(value) ? "nan" : base::ExactText(value);
}

template <typename T>
[[noreturn]] void Refuse()
{
    throw boost::bad_lexical_cast(typeid(std::string), typeid(T));
}

template <>
struct TRow<signed char>
{
    static std::string Name() { return "int8"; }
    static std::string From(signed char value) { return std::string(1, static_cast<char>(value)); }
    static signed char Parse(const std::string& source)
    {
        if (source.size() != 1)
            Refuse<signed char>();
        return static_cast<signed char>(source[0]);
    }
};

template <>
struct TRow<unsigned char>
{
    static std::string Name() { return "uint8"; }
    static std::string From(unsigned char value) { return base::ExactText<unsigned int>(value); }
    static unsigned char Parse(const std::string& source)
    {
        const int number = base::ParseNumber<int>(source);
        if (number < 0 || number > std::numeric_limits<unsigned char>::max())
            Refuse<unsigned char>();
        return static_cast<unsigned char>(number);
    }
};

template <>
struct TRow<bool>
{
    static std::string Name() { return "bool"; }
    static std::string From(bool value) { return value ? "TRUE" : "FALSE"; }
    static bool Parse(const std::string& source)
    {
        std::string word = source;
        for (char& c : word) {
            if (c >= 'A' && c <= 'Z')
                c = static_cast<char>(c - 'A' + 'a');
        }
        for (const char* yes : {"1", "true", "y", "yes", "on"}) {
            if (word == yes)
                return true;
        }
        for (const char* no : {"0", "false", "n", "no", "off"}) {
            if (word == no)
                return false;
        }
        Refuse<bool>();
    }
};

template <>
struct TRow<std::string>
{
    static std::string Name() { return "string"; }
    static std::string From(const std::string& value) { return value; }
    static std::string Parse(const std::string& source) { return source; }
};

}  // namespace

namespace var {
namespace types {

template <typename T>
std::string name()
{
    return TRow<T>::Name();
}

#define ORVO_UI_INSTANTIATE(T) template ORVO_DEV_API std::string name<T>();
ORVO_UI_FOR_EACH_SCALAR(ORVO_UI_INSTANTIATE)
#undef ORVO_UI_INSTANTIATE

}  // namespace types
}  // namespace var

namespace detail {

template <typename T, typename Enable>
std::string text<T, Enable>::From(const T& value)
{
    return TRow<T>::From(value);
}

template <typename T, typename Enable>
T text<T, Enable>::Parse(const std::string& source)
{
    return TRow<T>::Parse(source);
}

template <typename T, typename Enable>
void record<T, Enable>::Write(boost::archive::polymorphic_oarchive& archive, const char* tag, const T& value)
{
    archive << boost::serialization::make_nvp(tag, value);
}

template <typename T, typename Enable>
T record<T, Enable>::Read(boost::archive::polymorphic_iarchive& archive, const char* tag)
{
    T value{};
    archive >> boost::serialization::make_nvp(tag, value);
    return value;
}

#define ORVO_UI_INSTANTIATE(T) \
    template struct text<T>;   \
    template struct record<T>;
ORVO_UI_FOR_EACH_SCALAR(ORVO_UI_INSTANTIATE)
#undef ORVO_UI_INSTANTIATE

#define ORVO_UI_INSTANTIATE(T) template struct record<var::types::range<T>::attributes_type>;
ORVO_UI_FOR_EACH_NUMBER(ORVO_UI_INSTANTIATE)
#undef ORVO_UI_INSTANTIATE

template struct record<std::vector<std::string>>;

}  // namespace detail
}  // namespace ui
