#include "rec/picture.h"

#include <boost/predef/other/endian.h>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <map>
#include <stdexcept>

#include "base/number_text.h"
#include "orvo_proc_cimage/image.h"
#include "rec/detail/png.h"
#include "rec/detail/samples.h"
#include "rec/payload.h"

namespace rec {

namespace {

using boost::posix_time::ptime;

// ---- the texts in a picture's header

/// By their keyword, which stands behind "orvo " in a picture.
typedef std::map<std::string, std::string> TTexts;

const std::string prefix = "orvo ";

std::string HexText(std::uint64_t value)
{
    char text[17];
    std::snprintf(text, sizeof text, "%016" PRIx64, value);
    return text;
}

std::string GridText(const cimage::TGrid& grid)
{
    std::string text;
    for (const double value : {grid.scale_x, grid.scale_y, grid.offset_x, grid.offset_y})
        text += base::ExactText(value) + " ";
    return text + (grid.rectified ? "1" : "0");
}

TTexts TextsOf(const cimage::CImage& image, const TPayload& pixels)
{
    TTexts texts;
    texts["image"] = image.Descriptor();
    texts["grid"] = GridText(image.Grid());
    texts["pixels"] = HexText(Checksum(pixels.data, pixels.size));
    const std::string all = texts["image"] + "\n" + texts["grid"] + "\n" + texts["pixels"];
    texts["texts"] = HexText(Checksum(all.data(), all.size()));
    return texts;
}

cimage::TGrid ParseGrid(const std::string& text)
{
    const std::vector<double> numbers = base::ParseNumbers(text);
    if (numbers.size() != 5)
        throw std::runtime_error("found " + std::to_string(numbers.size()) + " numbers of a grid, wanted 5");
    cimage::TGrid grid;
    grid.scale_x = numbers[0];
    grid.scale_y = numbers[1];
    grid.offset_x = numbers[2];
    grid.offset_y = numbers[3];
    grid.rectified = numbers[4] != 0.0;
    return grid;
}

/// The texts as they were read are those of the image as it was read. The texts of a picture vouch for each other: with
/// a damage in one of them, the others still say that it was there.
void Verify(const TTexts& found, const boost::shared_ptr<cimage::CImage>& image)
{
    for (const auto& text : TextsOf(*image, Pack(image, Compression::None))) {
        const auto at = found.find(text.first);
        if (at == found.end() || at->second != text.second)
            throw std::runtime_error("found " + (at == found.end() ? "none" : "\"" + at->second + "\"") + " as \"" +
                                     prefix + text.first + "\", wanted \"" + text.second + "\"");
    }
}

const std::string& Need(const TTexts& texts, const std::string& keyword)
{
    const auto at = texts.find(keyword);
    if (at == texts.end())
        throw std::runtime_error("found no \"" + prefix + keyword + "\" in the header of the picture, wanted one");
    return at->second;
}

/// The image that the texts speak of, or without any, one of the kind that the file has by itself.
boost::shared_ptr<cimage::CImage> BuildFor(const TTexts& texts, unsigned int channels, unsigned int bits,
                                           unsigned int width, unsigned int height)
{
    if (!texts.empty())
        return cimage::Build(Need(texts, "image"));
    const char* const kind = channels == 1 ? "Mono" : channels == 3 ? "RGB" : "RGBa";
    return cimage::Build(cimage::PixelFormat(kind + std::to_string(bits)), width, height);
}

// ---- PNM

/// The shape of a PNM picture of an image.
struct TShape
{
    explicit TShape(const cimage::CImage& image)
        : colour(image.Format().channels == 3),
          wide(image.Format().bits_per_sample > 8),
          bgr(std::strncmp(image.Format().name, "BGR", 3) == 0),
          samples(image.RowBytes() / (wide ? 2 : 1)),
          width(samples / (colour ? 3 : 1)),
          height(image.Height())
    {
    }

    bool colour;
    bool wide;  ///< two bytes a sample
    bool bgr;
    std::size_t samples;  ///< of a row
    std::size_t width;    ///< pixels; of packed YUV, bytes
    std::size_t height;   ///< pixels
};

/// A row on its way into a PNM file, where red comes first and the high byte of a sample, or out of one: the exchange
/// is the same.
void Exchange(const TShape& shape, const std::uint8_t* from, std::uint8_t* to)
{
    const bool swap = shape.wide && BOOST_ENDIAN_LITTLE_BYTE;
    const std::size_t bytes = shape.wide ? 2 : 1;
    if (!swap && !shape.bgr) {
        std::memcpy(to, from, shape.samples * bytes);
        return;
    }
    for (std::size_t i = 0; i < shape.samples; ++i) {
        const std::size_t other = shape.bgr ? i - i % 3 + 2 - i % 3 : i;
        if (shape.wide) {
            to[2 * i] = from[2 * other + (swap ? 1 : 0)];
            to[2 * i + 1] = from[2 * other + (swap ? 0 : 1)];
        } else {
            to[i] = from[other];
        }
    }
}

std::string EncodePnm(const cimage::CImage& image, const TPayload& pixels)
{
    const TShape shape(image);
    std::string out = shape.colour ? "P6\n" : "P5\n";
    for (const auto& text : TextsOf(image, pixels))
        out += "# " + prefix + text.first + " " + text.second + "\n";
    out += std::to_string(shape.width) + " " + std::to_string(shape.height) + "\n";
    // The greatest value of a sample, or where some are greater, the greatest of sixteen bits.
    out += std::to_string(HasCleanSamples(image) ? (1U << image.Format().bits_per_sample) - 1 : 65535U) + "\n";

    const std::size_t header = out.size();
    out.resize(header + pixels.size);
    for (std::size_t y = 0; y < shape.height; ++y) {
        const std::size_t row = y * image.RowBytes();
        Exchange(shape, pixels.data + row, reinterpret_cast<std::uint8_t*>(&out[header + row]));
    }
    return out;
}

/// The header of a PNM file: numbers, blanks between them, and comments, which run from "#" to the end of the line.
class CPnmHeader
{
public:
    CPnmHeader(const std::uint8_t* data, std::size_t size) : data_(data), size_(size), at_(2) {}

    unsigned int Number(const char* what, unsigned int most)
    {
        SkipBlanks();
        unsigned int value = 0;
        const std::size_t begin = at_;
        while (at_ < size_ && data_[at_] >= '0' && data_[at_] <= '9' && value <= most)
            value = value * 10 + (data_[at_++] - unsigned('0'));
        if (at_ == begin || value == 0 || value > most)
            throw std::runtime_error("found no number from 1 to " + std::to_string(most) + " at byte " +
                                     std::to_string(begin) + ", wanted the " + what + " of a PGM or PPM picture");
        return value;
    }

    /// What stands behind the one blank that ends the header.
    std::size_t End()
    {
        if (at_ >= size_ || !IsBlank(data_[at_]))
            throw std::runtime_error("found no blank at byte " + std::to_string(at_) +
                                     ", wanted one behind the header of a PGM or PPM picture");
        return at_ + 1;
    }

    const TTexts& Texts() const { return texts_; }

private:
    static bool IsBlank(std::uint8_t c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

    void SkipBlanks()
    {
        while (at_ < size_ && (IsBlank(data_[at_]) || data_[at_] == '#'))
            data_[at_] == '#' ? SkipComment() : static_cast<void>(++at_);
    }

    void SkipComment()
    {
        std::string line;
        while (at_ < size_ && data_[at_] != '\n')
            line += static_cast<char>(data_[at_++]);
        const std::string begin = "# " + prefix;
        if (line.compare(0, begin.size(), begin) != 0)
            return;
        const std::size_t blank = line.find(' ', begin.size());
        texts_[line.substr(begin.size(), blank - begin.size())] =
            blank == std::string::npos ? "" : line.substr(blank + 1);
    }

    const std::uint8_t* const data_;
    const std::size_t size_;
    std::size_t at_;
    TTexts texts_;
};

boost::shared_ptr<cimage::CImage> DecodePnm(const std::uint8_t* data, std::size_t size, TTexts& texts)
{
    const bool colour = data[1] == '6';
    CPnmHeader header(data, size);
    // Of packed YUV there are two samples a pixel.
    const unsigned int width = header.Number("width", 2 * 65535);
    const unsigned int height = header.Number("height", 65535);
    const bool wide = header.Number("greatest value", 65535) > 255;
    const std::size_t begin = header.End();
    texts = header.Texts();
    const std::size_t wanted = std::size_t{width} * height * (colour ? 3 : 1) * (wide ? 2 : 1);
    if (size - begin != wanted)
        throw std::runtime_error("found " + std::to_string(size - begin) + " bytes of pixels, wanted " +
                                 std::to_string(wanted));

    const auto image = BuildFor(texts, colour ? 3 : 1, wide ? 16 : 8, width, height);
    const TShape shape(*image);
    if (shape.colour != colour || shape.wide != wide || shape.width != width || shape.height != height)
        throw std::runtime_error("found a picture of another shape, wanted " + image->Descriptor());
    for (std::size_t y = 0; y < height; ++y)
        Exchange(shape, data + begin + y * image->RowBytes(), image->Data() + y * image->Stride());
    return image;
}

boost::shared_ptr<cimage::CImage> DecodePng(const std::uint8_t* data, std::size_t size, TTexts& texts)
{
    const png::THeader header = png::ReadHeader(data, size);
    for (const auto& text : header.texts)
        if (text.first.compare(0, prefix.size(), prefix) == 0)
            texts[text.first.substr(prefix.size())] = text.second;
    const auto image = BuildFor(texts, header.channels, header.bits, header.width, header.height);
    png::Decode(data, size, *image);
    return image;
}

boost::shared_ptr<cimage::CImage> Decode(const std::uint8_t* data, std::size_t size, TTexts& texts)
{
    if (png::Is(data, size))
        return DecodePng(data, size, texts);
    if (size > 2 && data[0] == 'P' && (data[1] == '5' || data[1] == '6'))
        return DecodePnm(data, size, texts);
    throw std::runtime_error("found " + std::to_string(size) +
                             " bytes of another kind, wanted a PGM (P5), PPM (P6) or PNG picture");
}

// ---- names

const char* const untimed = "untimed";

std::string TimeText(const ptime& time)
{
    if (time.is_special())
        return untimed;
    const auto date = time.date().year_month_day();
    const auto clock = time.time_of_day();
    char text[64];
    std::snprintf(text, sizeof text, "%04d%02d%02dT%02d%02d%02d.%06dZ", static_cast<int>(date.year),
                  static_cast<int>(date.month), static_cast<int>(date.day), static_cast<int>(clock.hours()),
                  static_cast<int>(clock.minutes()), static_cast<int>(clock.seconds()),
                  static_cast<int>(clock.total_microseconds() % 1000000));
    return text;
}

/// The number in the decimal digits at [begin, begin + count) of a text; -1 when something else is there.
int Digits(const std::string& text, std::size_t begin, std::size_t count)
{
    int value = 0;
    for (std::size_t i = begin; i < begin + count; ++i) {
        if (i >= text.size() || text[i] < '0' || text[i] > '9')
            return -1;
        value = value * 10 + (text[i] - '0');
    }
    return value;
}

/// Of a text of the right form; what it makes of others is another time than the text says.
ptime ParseTime(const std::string& text)
{
    if (text == untimed)
        return ptime();
    const auto at = [&text](std::size_t begin, std::size_t count) { return Digits(text, begin, count); };
    try {
        const boost::gregorian::date date(static_cast<unsigned short>(at(0, 4)), static_cast<unsigned short>(at(4, 2)),
                                          static_cast<unsigned short>(at(6, 2)));
        return ptime(date, boost::posix_time::time_duration(at(9, 2), at(11, 2), at(13, 2)) +
                               boost::posix_time::microseconds(at(16, 6)));
    } catch (const std::out_of_range&) {
        return ptime();
    }
}

}  // namespace

TPicture MakePicture(const dev::TFrame<>& frame, PictureKind kind)
{
    if (!frame.image)
        throw std::runtime_error("found a frame without an image, wanted one for a picture");
    const cimage::TPixelFormat& format = frame.image->Format();
    const TPayload pixels = Pack(frame.image, Compression::None);
    TPicture picture;
    if (png::Holds(format) && (kind == PictureKind::Png || format.channels == 4)) {
        TTexts chunks;
        for (const auto& text : TextsOf(*frame.image, pixels))
            chunks[prefix + text.first] = text.second;
        picture.extension = "png";
        picture.bytes = png::Encode(*frame.image, chunks);
    } else {
        picture.extension = format.channels == 3 ? "ppm" : "pgm";
        picture.bytes = EncodePnm(*frame.image, pixels);
    }
    return picture;
}

boost::shared_ptr<cimage::CImage> ReadPicture(const std::uint8_t* data, std::size_t size, bool* checked)
{
    try {
        TTexts texts;
        const auto image = Decode(data, size, texts);
        if (!texts.empty()) {
            image->SetGrid(ParseGrid(Need(texts, "grid")));
            Verify(texts, image);
        }
        if (checked != nullptr)
            *checked = !texts.empty();
        return image;
    } catch (const std::logic_error& error) {
        throw std::runtime_error(error.what());  // a size or a format that no image has
    } catch (const std::bad_cast& error) {
        throw std::runtime_error("found something else among the numbers of a grid, wanted five numbers");
    }
}

std::string PictureName(const std::string& camera, const dev::TFrame<>& frame, const std::string& extension)
{
    std::string number = std::to_string(frame.counter1);
    if (number.size() < 6)
        number.insert(0, 6 - number.size(), '0');
    return camera + "/" + number + "_" + TimeText(frame.time_stamp) + "." + extension;
}

bool ParsePictureName(const std::string& name, std::string& camera, dev::TFrame<>& frame)
{
    const std::size_t slash = name.rfind('/');
    const std::size_t mark = name.rfind('_');
    const std::size_t point = name.rfind('.');
    if (slash == std::string::npos || mark == std::string::npos || mark < slash || point < mark ||
        point == std::string::npos)
        return false;
    dev::TFrame<> parsed;
    try {
        parsed.counter1 = base::ParseNumber<unsigned long long>(name.substr(slash + 1, mark - slash - 1));
    } catch (const std::bad_cast&) {
        return false;
    }
    parsed.time_stamp = ParseTime(name.substr(mark + 1, point - mark - 1));
    const std::string extension = name.substr(point + 1);
    const std::string folder = name.substr(0, slash);
    // Whatever was misread does not give the same name again.
    if ((extension != "pgm" && extension != "ppm" && extension != "png") ||
        PictureName(folder, parsed, extension) != name)
        return false;
    // As archives are made of a folder's content by hand: "./left/…".
    camera = folder.compare(0, 2, "./") == 0 ? folder.substr(2) : folder;
    frame.counter1 = parsed.counter1;
    frame.time_stamp = parsed.time_stamp;
    return true;
}

}  // namespace rec
