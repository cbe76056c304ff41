// Finds sections, keys and values in the bytes of a document.
#ifndef ORVO_INIFILES_DETAIL_READER_H
#define ORVO_INIFILES_DETAIL_READER_H

#include <boost/utility/string_view.hpp>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "orvo_inifiles/detail/document.h"

namespace kt {
namespace ini {

/// Reads a document once.
class CReader
{
public:
    explicit CReader(Document& document) : document_(document) {}

    /// Fills the document's tables; the faults in line order, one per line at most.
    std::vector<TFault> Read();

private:
    std::size_t FindText();
    void ReadLine(boost::string_view line);
    void ReadHeader(boost::string_view line);
    void ReadEntry(boost::string_view line);
    std::string ByteFault(boost::string_view line) const;
    void Fault(const std::string& text);
    std::uint32_t Place(boost::string_view part) const;

    Document& document_;
    std::vector<TFault> faults_;
    std::uint32_t line_ = 0;
    std::uint32_t section_ = detail::none;  ///< the one that keys belong to
    bool passing_over_ = false;             ///< below a faulty header: keys are checked, but belong nowhere
    bool has_nul_ = false;
    bool has_return_ = false;
};

}  // namespace ini
}  // namespace kt

#endif
