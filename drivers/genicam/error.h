// Aravis' errors as exceptions.
#ifndef GENICAM_ERROR_H
#define GENICAM_ERROR_H

#include <glib.h>

#include <boost/noncopyable.hpp>
#include <stdexcept>
#include <string>

namespace genicam {

/// Takes the error of one call: `arv_camera_get_gain(camera, error)`, then error.Check("Gain").
class CError : private boost::noncopyable
{
public:
    CError() = default;
    ~CError() { g_clear_error(&error_); }

    operator GError**()
    {
        g_clear_error(&error_);
        return &error_;
    }
    bool Failed() const { return error_ != nullptr; }
    /// Of the last call; null when it went well.
    const GError* Get() const { return error_; }
    std::string Text() const { return error_ != nullptr ? error_->message : ""; }
    /// Throws std::runtime_error "<what>: <message>" when the last call failed.
    void Check(const std::string& what) const
    {
        if (error_ != nullptr)
            throw std::runtime_error(what + ": " + error_->message);
    }

private:
    GError* error_ = nullptr;
};

}  // namespace genicam

#endif
