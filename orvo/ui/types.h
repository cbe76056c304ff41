// What the user interface calls the types of values, and how it writes them as text and into archives.
//
//   T               name      text
//   double          double    "%.*g" with 17 significant digits
//   float           float     "%.*g" with 9 significant digits
//   long            int64     decimal; int (int32) and short (int16) likewise
//   signed char     int8      the byte itself, unlike uint8, on purpose
//   unsigned long   uint64    decimal; unsigned int (uint32) and unsigned short (uint16) likewise
//   unsigned char   uint8     decimal, 0 to 255
//   bool            bool      TRUE or FALSE; read as 1, true, y, yes, on or 0, false, n, no, off in any case
//   std::string     string    as it is
//
// Text is the same under every locale.
#ifndef UI_TYPES_H
#define UI_TYPES_H

#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <boost/serialization/nvp.hpp>
#include <string>
#include <type_traits>

#include "base/export.h"
#include "orvo_ui/variable.h"

/// The types of the table: numbers, and all of them.
#define ORVO_UI_FOR_EACH_NUMBER(apply)                                                                     \
    apply(double) apply(float) apply(long) apply(int) apply(short) apply(signed char) apply(unsigned long) \
        apply(unsigned int) apply(unsigned short) apply(unsigned char)
#define ORVO_UI_FOR_EACH_SCALAR(apply) ORVO_UI_FOR_EACH_NUMBER(apply) apply(bool) apply(std::string)

namespace ui {
namespace var {
namespace types {

/// The name of a type of the table.
template <typename T>
ORVO_DEV_API std::string name();

template <typename T>
struct value
{
    static std::string type_name() { return "value<" + name<T>() + '>'; }
};

template <typename T>
struct ORVO_DEV_API range
{
    /// What a widget should offer. Nothing enforces it: the owner's setter decides.
    struct ORVO_DEV_API attributes_type
    {
        T min{};
        T max{};
        T step{};

        template <typename Archive>
        void serialize(Archive& archive, unsigned int)
        {
            archive& boost::serialization::make_nvp("min", min);
            archive& boost::serialization::make_nvp("max", max);
            archive& boost::serialization::make_nvp("step", step);
        }
    };

    static std::string type_name() { return "range<" + name<T>() + '>'; }
};

template <typename T>
struct collection
{
    static std::string type_name() { return "collection<" + name<T>() + '>'; }
};

}  // namespace types
}  // namespace var

namespace detail {

/// Values as text: the types of the table, and enumerations.
template <typename T, typename = void>
struct ORVO_DEV_API text
{
    static std::string From(const T& value);

    /// The value that `source` holds as a whole. Throws boost::bad_lexical_cast for anything else and for a number
    /// outside the type; the unsigned types wrap a "-" around, except unsigned char, which refuses it.
    static T Parse(const std::string& source);
};

template <typename T>
struct text<T, typename std::enable_if<std::is_enum<T>::value>::type>
{
    static std::string From(const T& value) { return text<int>::From(static_cast<int>(value)); }

    /// An enumeration is never read from its number, on purpose: a collection finds it by its label.
    static T Parse(const std::string&) { throw boost::bad_lexical_cast(typeid(std::string), typeid(T)); }
};

/// Values in archives, under `tag` where the archive has tags: the types of the table, the limits of ranges, lists of
/// strings, and enumerations. A kind of its own because archives are heavy to compile: the library does it once.
template <typename T, typename = void>
struct ORVO_DEV_API record
{
    static void Write(boost::archive::polymorphic_oarchive& archive, const char* tag, const T& value);

    /// Throws boost::archive::archive_exception for an archive that ends early or holds what cannot be a T.
    static T Read(boost::archive::polymorphic_iarchive& archive, const char* tag);
};

/// As int.
template <typename T>
struct record<T, typename std::enable_if<std::is_enum<T>::value>::type>
{
    static void Write(boost::archive::polymorphic_oarchive& archive, const char* tag, const T& value)
    {
        record<int>::Write(archive, tag, static_cast<int>(value));
    }

    static T Read(boost::archive::polymorphic_iarchive& archive, const char* tag)
    {
        return static_cast<T>(record<int>::Read(archive, tag));
    }
};

}  // namespace detail
}  // namespace ui

#endif
