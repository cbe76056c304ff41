// Help texts of the image operations, by operation name.
#ifndef DEV_CAMERA_PLUGIN_DESCRIPTIONS_H
#define DEV_CAMERA_PLUGIN_DESCRIPTIONS_H

#include <map>
#include <string>
#include <utility>

#include "base/export.h"

namespace dev {
namespace camera {

/// Thread rule: none, one thread at a time.
class ORVO_DEV_API Plugin_Descriptions
{
public:
    /// An operation that is present keeps its first entry.
    static void Add(const std::string& operation, const std::string& syntax, const std::string& description);

    /// The stored text. An unknown operation is entered with empty texts, and as Add() never overwrites, one that was
    /// looked up before it was added keeps them: on purpose.
    static const std::string& Syntax(const std::string& operation);
    static const std::string& Description(const std::string& operation);

private:
    static std::map<std::string, std::pair<std::string, std::string>> desc;
};

}  // namespace camera
}  // namespace dev

#endif
