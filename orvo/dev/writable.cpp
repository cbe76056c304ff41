#include "dev/writable.h"

#include <boost/algorithm/string/replace.hpp>
#include <boost/filesystem/operations.hpp>
#include <utility>

#include "base/require.h"

namespace dev {

constexpr unsigned char CWritable::no_track;

CWritable::CWritable(boost::shared_ptr<data::CEvent> event, const std::string& location)
    : event_(std::move(event)), location_(location), track_(no_track)
{
}

CWritable::CWritable(boost::shared_ptr<data::CEvent> event, unsigned char track)
    : event_(std::move(event)), track_(track)
{
}

CWritable::~CWritable() = default;

void CWritable::Remove_Resource()
{
    boost::filesystem::remove(location_);
}

void CWritable::Destroy_Payload() {}

unsigned int CWritable::NumSamples() const
{
    return 1;
}

long CWritable::use_count() const
{
    return 0;
}

data::CEvent& CWritable::Event() const
{
    // The words of the shared pointer's own assertion, which release builds may leave out.
    data::CEvent* const px = event_.get();
    ORVO_REQUIRE(px != 0);
    return *px;
}

void CWritable::Expand(const std::string& from, const std::string& to)
{
    // A copy, because the texts may be this very location.
    location_ = boost::algorithm::replace_all_copy(location_, from, to);
}

}  // namespace dev
