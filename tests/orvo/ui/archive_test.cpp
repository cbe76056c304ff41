// Every adapter through every polymorphic archive. What the adapters write is read back by the archives' own operators,
// and the other way round, so that neither side can be wrong in the same way as the other.
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

using boost::serialization::make_nvp;
using testing::ElementsAre;
using ui::detail::Access_Internal;
using ui::detail::Access_Label;
using ui::detail::range;
using ui::detail::Serializable;
using ui::detail::value;

namespace {

struct Binary
{
    using Out = boost::archive::polymorphic_binary_oarchive;
    using In = boost::archive::polymorphic_binary_iarchive;
};

struct Text
{
    using Out = boost::archive::polymorphic_text_oarchive;
    using In = boost::archive::polymorphic_text_iarchive;
};

struct Xml
{
    using Out = boost::archive::polymorphic_xml_oarchive;
    using In = boost::archive::polymorphic_xml_iarchive;
};

template <typename Format>
class Archive : public testing::Test
{
protected:
    /// The bytes that `write` leaves in an archive.
    template <typename Write>
    static std::string Written(Write write)
    {
        std::ostringstream stream;
        {
            typename Format::Out archive(stream);
            write(static_cast<boost::archive::polymorphic_oarchive&>(archive));
        }
        return stream.str();
    }

    template <typename T>
    static std::string Plain(const char* tag, const T& content)
    {
        return Written([&](boost::archive::polymorphic_oarchive& archive) { archive << make_nvp(tag, content); });
    }

    template <typename T>
    static T Read(const std::string& bytes, const char* tag)
    {
        std::istringstream stream(bytes);
        typename Format::In archive(stream);
        T content{};
        static_cast<boost::archive::polymorphic_iarchive&>(archive) >> make_nvp(tag, content);
        return content;
    }

    static std::string Got(const Serializable& adapter, ui::detail::AccessMode mode)
    {
        return Written([&](boost::archive::polymorphic_oarchive& archive) { adapter.Get(archive, mode); });
    }

    static void Set(Serializable& adapter, const std::string& bytes, ui::detail::AccessMode mode)
    {
        std::istringstream stream(bytes);
        typename Format::In archive(stream);
        adapter.Set(archive, mode, 0);
    }

    static std::string Attributes(const Serializable& adapter)
    {
        return Written([&](boost::archive::polymorphic_oarchive& archive) { adapter.GetAttribute(archive); });
    }

    template <typename T>
    static void ExpectValue(const T& content)
    {
        SCOPED_TRACE(ui::var::types::name<T>());
        T field = content;
        value<T> adapter(&field);
        EXPECT_EQ(Read<T>(Got(adapter, Access_Internal), "value"), content);
        field = T();
        Set(adapter, Plain("value", content), Access_Internal);
        EXPECT_EQ(field, content);
    }
};

using Formats = testing::Types<Binary, Text, Xml>;
TYPED_TEST_SUITE(Archive, Formats, );  // the empty argument: pedantic clang wants it

enum Colour
{
    Red = 4,
    Blue = -1
};

}  // namespace

TYPED_TEST(Archive, CarriesEveryScalar)
{
    this->template ExpectValue<double>(0.1);
    this->template ExpectValue<float>(0.1F);
    this->template ExpectValue<long>(std::numeric_limits<long>::min());
    this->template ExpectValue<int>(-7);
    this->template ExpectValue<short>(-32768);
    this->template ExpectValue<signed char>(-128);
    this->template ExpectValue<unsigned long>(std::numeric_limits<unsigned long>::max());
    this->template ExpectValue<unsigned int>(7U);
    this->template ExpectValue<unsigned short>(65535);
    this->template ExpectValue<unsigned char>(255);
    this->template ExpectValue<bool>(true);
    this->template ExpectValue<std::string>("two words, <one> & \"more\"");
}

TYPED_TEST(Archive, CarriesTheLimitsOfARange)
{
    range<double> adapter;
    adapter.attributes.min = -10.0;
    adapter.attributes.max = 10.5;
    adapter.attributes.step = 0.001;
    const auto read = this->template Read<range<double>::attributes_type>(this->Attributes(adapter), "attributes");
    EXPECT_EQ(read.min, -10.0);
    EXPECT_EQ(read.max, 10.5);
    EXPECT_EQ(read.step, 0.001);
}

TYPED_TEST(Archive, CarriesCollectionsAsValueAsLabelAndAsList)
{
    Colour colour = Blue;
    ui::detail::map<Colour> adapter(&colour);
    adapter.Insert("red", Red);
    adapter.Insert("blue", Blue);

    EXPECT_EQ(this->template Read<int>(this->Got(adapter, Access_Internal), "value"), -1);
    EXPECT_EQ(this->template Read<std::string>(this->Got(adapter, Access_Label), "value"), "blue");
    EXPECT_THAT(this->template Read<std::vector<std::string>>(this->Attributes(adapter), "attributes"),
                ElementsAre("red", "blue"));
    this->Set(adapter, this->Plain("value", std::string("red")), Access_Label);
    EXPECT_EQ(colour, Red);
    this->Set(adapter, this->Plain("value", -1), Access_Internal);
    EXPECT_EQ(colour, Blue);
    EXPECT_THROW(this->Set(adapter, this->Plain("value", std::string("green")), Access_Label), std::runtime_error);
    EXPECT_EQ(colour, Blue);
}

TYPED_TEST(Archive, SetsNothingFromAnArchiveThatEndsEarly)
{
    double field = 2.5;
    value<double> adapter(&field);
    const std::string empty = this->Written([](boost::archive::polymorphic_oarchive&) {});
    EXPECT_THROW(this->Set(adapter, empty, Access_Internal), boost::archive::archive_exception);
    EXPECT_EQ(field, 2.5);
}

TEST(ArchiveText, WritesTheFieldsOfARangeInOrderUnderTheirNames)
{
    range<int> adapter;
    adapter.attributes.min = 1;
    adapter.attributes.max = 2;
    adapter.attributes.step = 3;
    std::ostringstream stream;
    {
        Xml::Out archive(stream);
        adapter.GetAttribute(static_cast<boost::archive::polymorphic_oarchive&>(archive));
    }
    EXPECT_THAT(stream.str(), testing::HasSubstr("<min>1</min>\n\t<max>2</max>\n\t<step>3</step>"));
}
