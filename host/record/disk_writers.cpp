#include "record/disk_writers.h"

#include <cerrno>

#include "record/frame_writable.h"

namespace host {

namespace {

std::filesystem::path IndexOf(std::filesystem::path file)
{
    return file.replace_extension(".idx");
}

/// Opens an archive on its way into the list of members that watch its files.
std::filesystem::path Open(kta::Writer& writer, const std::filesystem::path& file,
                           const std::vector<rec::TTrack>& tracks)
{
    std::vector<kta::Track> records;
    for (const rec::TTrack& track : tracks)
        records.push_back(rec::MakeTrack(track));
    errno = 0;
    writer.Open(file.string(), records);
    if (!writer.Flush())
        ThrowErrno(writer.ofs_data() ? IndexOf(file) : file);
    return file;
}

std::filesystem::path Open(tar::Writer& writer, const std::filesystem::path& file)
{
    errno = 0;
    writer.Open(file.string());
    if (!writer.IsOpen())
        ThrowErrno(file);
    return file;
}

}  // namespace

CKtaDiskWriter::CKtaDiskWriter(const std::filesystem::path& file, const std::vector<rec::TTrack>& tracks)
    : data_(Open(writer_, file, tracks)),
      index_(IndexOf(file)),
      index_end_(sizeof(kta::Header) + tracks.size() * sizeof(kta::Track))
{
}

CKtaDiskWriter::~CKtaDiskWriter()
{
    Close();
}

void CKtaDiskWriter::On_Write(const boost::shared_ptr<dev::CWritable>& writable, unsigned char track)
{
    auto& frame = dynamic_cast<CFrameWritable&>(*writable);
    rec::TBlock block = frame.Block();
    block.track = track;
    block.offset = data_end_;
    const kta::BlockHeader header = rec::MakeBlockHeader(block);
    errno = 0;
    writer_.ofs_data().write(static_cast<const char*>(frame.Data()), static_cast<std::streamsize>(frame.Size()));
    writer_.Write(header);
    if (!writer_.Flush())
        ThrowErrno(writer_.ofs_data() ? index_.Path() : data_.Path());
    data_end_ += frame.Size();
    index_end_ += sizeof(kta::BlockHeader);
    frame.Destroy_Payload();
}

bool CKtaDiskWriter::Flush()
{
    data_.Check();
    index_.Check();
    return writer_.Flush();
}

bool CKtaDiskWriter::Close()
{
    if (writer_.ofs_data().is_open()) {
        writer_.Close({});
        if (!writer_.Good()) {
            index_.Cut(index_end_);
            data_.Cut(data_end_);
        }
    }
    return writer_.Good();
}

CTarDiskWriter::CTarDiskWriter(const std::filesystem::path& file) : file_(Open(writer_, file)) {}

CTarDiskWriter::~CTarDiskWriter()
{
    Close();
}

void CTarDiskWriter::On_Write(const boost::shared_ptr<dev::CWritable>& writable, unsigned char /*track*/)
{
    constexpr std::uint64_t block = 512;
    const std::size_t size = writable->Size();
    errno = 0;
    writer_.Write(writable->Name(), [&](std::ofstream& stream) {
        stream.write(static_cast<const char*>(writable->Data()), static_cast<std::streamsize>(size));
    });
    if (!writer_.Flush())
        ThrowErrno(file_.Path());
    end_ += block + (size + block - 1) / block * block;
    writable->Destroy_Payload();
}

bool CTarDiskWriter::Flush()
{
    file_.Check();
    return writer_.Flush();
}

bool CTarDiskWriter::Close()
{
    if (writer_.IsOpen()) {
        good_ = writer_.Close();
        if (!good_)
            file_.Cut(end_);
    }
    return good_;
}

}  // namespace host
