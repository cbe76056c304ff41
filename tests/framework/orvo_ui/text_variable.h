// A variable of the tests: a text, with what its owner might do wrong.
#ifndef TESTS_ORVO_UI_TEXT_VARIABLE_H
#define TESTS_ORVO_UI_TEXT_VARIABLE_H

#include <boost/function.hpp>
#include <boost/property_tree/ptree.hpp>
#include <string>

#include "orvo_ui/variable.h"

namespace test {

class TextVariable : public ui::detail::Serializable
{
public:
    explicit TextVariable(const std::string& text = "") : text_(text) {}
    ~TextVariable() override
    {
        if (on_end)
            on_end();
    }

    boost::function<void()> on_read;
    boost::function<void()> on_end;
    bool readable = true;
    bool limited = false;

    std::string GetTypeID() const override { return "value<string>"; }
    bool HasValue() const override { return readable; }
    void Set(const std::string& text, ui::detail::AccessMode, int) override { text_ = text; }
    void Get(std::string& text, ui::detail::AccessMode mode) const override
    {
        if (on_read)
            on_read();
        text = mode == ui::detail::Access_Label ? text_ : "internal " + text_;
    }
    void Set(const boost::any&, ui::detail::AccessMode, int) override {}
    void Get(boost::any&, ui::detail::AccessMode) const override {}
    void Set(boost::archive::polymorphic_iarchive&, ui::detail::AccessMode, int) override {}
    void Get(boost::archive::polymorphic_oarchive&, ui::detail::AccessMode) const override {}
    bool HasAttributes() const override { return limited; }
    void GetAttribute(boost::property_tree::ptree& tree) const override { tree.put("max", "10"); }
    void GetAttribute(boost::archive::polymorphic_oarchive&) const override {}
    void GetAttribute(boost::any&) const override {}

private:
    std::string text_;
};

}  // namespace test

#endif
