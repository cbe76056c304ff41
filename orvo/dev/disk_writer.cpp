#include "dev/disk_writer.h"

#include "base/log.h"
#include "dev/writable.h"

namespace dev {

CDiskWriter::CDiskWriter() = default;

CDiskWriter::~CDiskWriter()
{
    base::Log(base::Severity::Information, BOOST_CURRENT_FUNCTION, "Closing succeeded");
}

void CDiskWriter::Write(boost::shared_ptr<CWritable> writable, unsigned char track)
{
    On_Write(writable, track);
}

}  // namespace dev
