// Variables of the user interface: values that live in their owner and are read and written by way of an id.
//
// What the device layer relies on: a variable is an adapter that the platform knows only through Serializable; a handle
// (ui::var::Base) shares ownership of it; a widget that names a variable's id keeps the variable alive after the last
// handle has gone.
#ifndef ORVO_UI_VARIABLE_H
#define ORVO_UI_VARIABLE_H

#include <boost/any.hpp>
#include <boost/property_tree/ptree_fwd.hpp>
#include <boost/shared_ptr.hpp>
#include <string>

#include "orvo_ui/export.h"

namespace boost {
namespace archive {
class polymorphic_iarchive;
class polymorphic_oarchive;
}  // namespace archive
}  // namespace boost

namespace ui {
namespace detail {

/// Which side of a value is meant. Modes 1 and 2 are reserved: collections refuse them, plain values ignore the mode.
enum AccessMode : int
{
    Access_Internal = 0,
    Access_Reserved1 = 1,
    Access_Reserved2 = 2,
    Access_Label = 3
};

/// What the platform knows of a variable. `channel` (0, 1 or 2) chooses the setter signal that a Set raises.
/// Errors are exceptions, thrown to the caller of Get or Set; a Set that throws because of its argument has set
/// nothing. Not locked: who drives the user interface makes one call at a time on the variables of one owner.
class ORVO_UI_API Serializable
{
public:
    virtual ~Serializable();

    /// "value<double>", "range<int32>", "collection<string>", …
    virtual std::string GetTypeID() const = 0;
    /// True when the variable can be read.
    virtual bool HasValue() const = 0;
    virtual void Set(const std::string& text, AccessMode mode, int channel) = 0;
    virtual void Get(std::string& text, AccessMode mode) const = 0;
    virtual void Set(const boost::any& value, AccessMode mode, int channel) = 0;
    virtual void Get(boost::any& value, AccessMode mode) const = 0;
    virtual void Set(boost::archive::polymorphic_iarchive& archive, AccessMode mode, int channel) = 0;
    virtual void Get(boost::archive::polymorphic_oarchive& archive, AccessMode mode) const = 0;
    /// True when GetAttribute describes limits or choices.
    virtual bool HasAttributes() const = 0;
    virtual void GetAttribute(boost::property_tree::ptree& tree) const = 0;
    virtual void GetAttribute(boost::archive::polymorphic_oarchive& archive) const = 0;
    virtual void GetAttribute(boost::any& value) const = 0;
};

}  // namespace detail

namespace var {

/// A handle on a variable; copies share it. The id is process-wide, unique and never used again.
/// A handle belongs to one thread at a time; copies of it may live on several.
class ORVO_UI_API Base
{
public:
    /// No variable; id -1.
    Base();
    /// Gives `variable` an id, from 1 up, and makes it known to the panel manager. A null pointer is no variable.
    explicit Base(const boost::shared_ptr<detail::Serializable>& variable);
    Base(const Base&);
    Base& operator=(const Base&);
    virtual ~Base();

    long Id() const { return id_; }

    /// Tells the platform that the value changed, so that bound widgets refresh. Nothing happens without a variable.
    void Update() const;

private:
    long id_;
    boost::shared_ptr<detail::Serializable> variable_;
};

}  // namespace var
}  // namespace ui

#endif
