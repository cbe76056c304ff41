// The video properties of a source as text, the way in which every program sees them.
#ifndef CONFORMANCE_SETTINGS_H
#define CONFORMANCE_SETTINGS_H

#include <string>
#include <vector>

#include "capture/source.h"
#include "dev/camera/attributes.h"

namespace conformance {

/// An attribute by its whole name, "Exposure.Time". The source that it belongs to outlives it.
class CSetting
{
public:
    CSetting(const std::string& property, const dev::camera::videoprop::Attribute& attribute);

    const std::string& Name() const { return name_; }
    bool IsNumber() const;    ///< a number with limits
    bool IsSettable() const;  ///< neither a label nor disabled at the moment

    /// Throws what the driver throws.
    std::string Read() const;
    void Write(const std::string& text) const;

    // Of a number.

    /// Numbers right below the least and above the greatest value, where the type has them.
    std::vector<std::string> OutsideLimits() const;
    /// A number next to the present one, within the limits; the present one when there is none.
    std::string Neighbour() const;

private:
    bool IsInteger() const;
    std::string Text(double number) const;

    std::string name_;
    dev::camera::videoprop::Attribute attribute_;
};

/// All attributes that hold something, in the order of the properties and of their names.
std::vector<CSetting> Settings(capture::CSource& source);

/// Tries all of them out; how many of each kind there were. Throws failed for the first that does not keep to its
/// rules, with its value put back.
std::string CheckSettings(capture::CSource& source);

}  // namespace conformance

#endif
