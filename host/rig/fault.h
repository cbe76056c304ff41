// What is wrong with a rig file, one entry per fault, in the words in which the user hears of it.
#ifndef HOST_RIG_FAULT_H
#define HOST_RIG_FAULT_H

#include <cstddef>
#include <string>
#include <vector>

namespace host {

struct TFault
{
    std::size_t line = 0;    ///< 1-based; 0 when no line can be blamed
    std::string section;     ///< empty for a fault of the text itself
    std::string key;         ///< empty for a fault of the section
    std::string found;       ///< what is there: a quoted value, or words such as "nothing"
    std::string wanted;      ///< what would do
    std::string suggestion;  ///< a name that is there and nearly reads like the one found; mostly empty
    bool of_source = false;  ///< told by the camera's source: of no weight for a camera that does not run
};

/// A fault whose description comes in one piece, as "found …, wanted …" or, from other hands, as any sentence.
TFault FaultFromText(std::size_t line, const std::string& section, const std::string& key, const std::string& text);

/// The value as faults show it: in quotes, control characters made visible, and no longer than a line can bear.
std::string Quoted(const std::string& value);

/// The text with line ends as "; " and other control characters made visible, so that no file and no plugin's error
/// can break a message in two or steer the terminal.
std::string OneLine(const std::string& text);

/// "file:line: [section] key: found …, wanted …; did you mean …?", always one line.
std::string Text(const std::string& file, const TFault& fault);

/// In the order of the file; those of one line stay as they were found.
void SortByLine(std::vector<TFault>& faults);

}  // namespace host

#endif
