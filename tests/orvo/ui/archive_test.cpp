// The adapters through every polymorphic archive. What they write is read back by the archives' own operators, and the
// other way round, so that neither side can be wrong in the same way as the other.
#include <gmock/gmock.h>

#include <boost/archive/archive_exception.hpp>
#include <boost/archive/polymorphic_binary_iarchive.hpp>
#include <boost/archive/polymorphic_binary_oarchive.hpp>
#include <boost/archive/polymorphic_text_iarchive.hpp>
#include <boost/archive/polymorphic_text_oarchive.hpp>
#include <boost/archive/polymorphic_xml_iarchive.hpp>
#include <boost/archive/polymorphic_xml_oarchive.hpp>
#include <boost/serialization/string.hpp>
#include <boost/serialization/vector.hpp>
#include <limits>
#include <sstream>

#include "ui/collection.h"
#include "ui/range.h"

using boost::archive::polymorphic_iarchive;
using boost::archive::polymorphic_oarchive;
using boost::serialization::make_nvp;
using ui::detail::Access_Internal;
using ui::detail::Access_Label;
using ui::detail::value;

namespace {

template <typename Out, typename In>
struct Format
{
    /// The bytes that `write` leaves in an archive.
    template <typename Write>
    static std::string Written(Write write)
    {
        std::ostringstream stream;
        {
            Out archive(stream);
            write(static_cast<polymorphic_oarchive&>(archive));
        }
        return stream.str();
    }

    /// Has the bytes read by `read`.
    template <typename Read>
    static void Reading(const std::string& bytes, Read read)
    {
        std::istringstream stream(bytes);
        In archive(stream);
        read(static_cast<polymorphic_iarchive&>(archive));
    }
};

using Formats =
    testing::Types<Format<boost::archive::polymorphic_binary_oarchive, boost::archive::polymorphic_binary_iarchive>,
                   Format<boost::archive::polymorphic_text_oarchive, boost::archive::polymorphic_text_iarchive>,
                   Format<boost::archive::polymorphic_xml_oarchive, boost::archive::polymorphic_xml_iarchive>>;

template <typename F>
class Archive : public testing::Test
{
protected:
    template <typename T>
    static void ExpectGot(const ui::detail::Serializable& adapter, const T& content, ui::detail::AccessMode mode)
    {
        T read{};
        F::Reading(F::Written([&](polymorphic_oarchive& archive) { adapter.Get(archive, mode); }),
                   [&](polymorphic_iarchive& archive) { archive >> make_nvp("value", read); });
        EXPECT_EQ(read, content);
    }

    template <typename T>
    static void Set(ui::detail::Serializable& adapter, const T& content, ui::detail::AccessMode mode)
    {
        F::Reading(F::Written([&](polymorphic_oarchive& archive) { archive << make_nvp("value", content); }),
                   [&](polymorphic_iarchive& archive) { adapter.Set(archive, mode, 0); });
    }

    template <typename T>
    static void ExpectValue(const T& content)
    {
        T field = content;
        value<T> adapter(&field);
        ExpectGot(adapter, content, Access_Internal);
        field = T();
        Set(adapter, content, Access_Internal);
        EXPECT_EQ(field, content);
    }
};

TYPED_TEST_SUITE(Archive, Formats, );  // the empty argument: pedantic clang wants it

enum Colour
{
    Red = 4,
    Blue = -1
};

}  // namespace

TYPED_TEST(Archive, CarriesScalarsLimitsAndCollections)
{
    this->template ExpectValue<double>(0.1);
    this->template ExpectValue<long>(std::numeric_limits<long>::min());
    this->template ExpectValue<signed char>(-128);
    this->template ExpectValue<unsigned short>(65535);
    this->template ExpectValue<bool>(true);
    this->template ExpectValue<std::string>("two words, <one> & \"more\"");

    ui::detail::range<double> range;
    range.attributes.min = -10.0;
    range.attributes.step = 0.001;
    ui::var::types::range<double>::attributes_type limits;
    TypeParam::Reading(TypeParam::Written([&](polymorphic_oarchive& archive) { range.GetAttribute(archive); }),
                       [&](polymorphic_iarchive& archive) { archive >> make_nvp("attributes", limits); });
    EXPECT_EQ(limits.min, -10.0);
    EXPECT_EQ(limits.step, 0.001);

    Colour colour = Blue;
    ui::detail::map<Colour> map(&colour);
    map.Insert("red", Red);
    map.Insert("blue", Blue);
    this->ExpectGot(map, -1, Access_Internal);
    this->ExpectGot(map, std::string("blue"), Access_Label);
    this->Set(map, std::string("red"), Access_Label);
    EXPECT_EQ(colour, Red);
    this->Set(map, -1, Access_Internal);
    EXPECT_THROW(this->Set(map, std::string("green"), Access_Label), std::runtime_error);
    const auto nothing = TypeParam::Written([](polymorphic_oarchive&) {});
    EXPECT_THROW(
        TypeParam::Reading(nothing, [&](polymorphic_iarchive& archive) { map.Set(archive, Access_Internal, 0); }),
        boost::archive::archive_exception);
    EXPECT_EQ(colour, Blue);
}
