// One feature of a connected camera, typed as the camera's own description says.
#ifndef GENICAM_FEATURE_NODE_H
#define GENICAM_FEATURE_NODE_H

#include <boost/variant/variant.hpp>
#include <stdexcept>
#include <string>
#include <vector>

struct _ArvDevice;
struct _ArvGcFeatureNode;

namespace genicam {

/// A number, a whole number, a truth value, or a text, which may be the name of an entry.
using TValue = boost::variant<double, long, bool, std::string>;

/// For sentences, the same under every locale: nine digits, TRUE or FALSE; the unit behind a blank where there is one.
std::string Text(const TValue& value, const std::string& unit);

enum class ValueKind
{
    Real,     ///< double
    Integer,  ///< long
    Boolean,  ///< bool
    Choice,   ///< text: one of Entries()
    Text,     ///< text
    Other     ///< commands, registers, categories: what has no value to show
};

template <typename T>
struct TLimits
{
    T min;
    T max;
    T step;  ///< 0: any value between
};

/// The camera has said nothing at all: it may be gone. To find that out has taken seconds, and will again.
class CNoAnswer : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// A look at a feature. To be used within one CAccess::With() and dropped there: its camera may go.
/// Every call may read registers of the camera, half a millisecond each over a network, and throws std::runtime_error
/// with what the camera or its description has against it, or CNoAnswer; the message does not name the feature.
class CFeatureNode
{
public:
    /// Of a feature that is not there only Kind(), Other, IsImplemented(), false, and Members() may be asked.
    CFeatureNode(_ArvDevice* device, const std::string& name);

    /// Of the value as the description has it; Choice and Text come as std::string.
    ValueKind Kind() const { return kind_; }
    bool IsImplemented() const;
    /// Implemented, and of use in the state in which the camera is now.
    bool IsAvailable() const;
    bool IsReadOnly() const;
    bool IsWriteOnly() const;
    /// Meant for more people than the maker's own.
    bool IsForUsers() const;
    /// As the description has it; often empty.
    std::string Unit() const;

    TLimits<double> RealLimits() const;
    TLimits<long> IntegerLimits() const;
    /// All that the camera has, whether it takes them now or not.
    std::vector<std::string> Entries() const;
    /// The features whose meaning depends on the value of this one.
    std::vector<std::string> Selects() const;
    /// The features of a category; empty for anything else.
    std::vector<std::string> Members() const;
    bool IsCategory() const;

    TValue Read() const;

    /// Checks against the limits and steps that the camera has now, since Aravis checks neither, and writes. A whole
    /// number between two steps is refused, because cameras differ in what they make of it; a real one is left for the
    /// camera to round. What a camera has locked can still be "set" to what it is. `unit` is for the message.
    void Write(const TValue& value, const std::string& unit) const;

private:
    void Check(const TValue& value, const std::string& unit) const;

    _ArvGcFeatureNode* node_;
    ValueKind kind_ = ValueKind::Other;
};

}  // namespace genicam

#endif
