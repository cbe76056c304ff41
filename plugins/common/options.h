// The options of a node line, checked: everything wrong is told as "OPERATION: option NAME: found …, wanted …".
#ifndef COMMON_OPTIONS_H
#define COMMON_OPTIONS_H

#include <map>
#include <string>
#include <vector>

namespace ops {

/// Reads the options of one operation. Every error is a std::runtime_error.
class COptions
{
public:
    /// Refuses options that are neither in `known` nor read by the tree ("fps_factor"), and values without a name.
    /// `options` must outlive the object.
    COptions(const std::string& operation, const std::map<std::string, std::string>& options,
             const std::vector<std::string>& known);

    bool Has(const std::string& name) const { return options_.count(name) != 0; }

    /// The option's text, or `fallback`.
    std::string Text(const std::string& name, const std::string& fallback) const;

    /// A number from `low` to `high`, or `fallback`.
    double Number(const std::string& name, double fallback, double low, double high) const;

    /// A whole number from `low` to `high`, or `fallback`.
    int Whole(const std::string& name, int fallback, int low, int high) const;

    /// As many whole numbers, from `low` to `high`, joined by `separators`. The option must be there.
    std::vector<int> Wholes(const std::string& name, std::size_t count, const char* separators, int low, int high,
                            const std::string& wanted) const;

    /// The place of the option's text in `names`, or `fallback`.
    std::size_t Choice(const std::string& name, const std::vector<std::string>& names, std::size_t fallback) const;

    [[noreturn]] void Refuse(const std::string& name, const std::string& wanted) const;

private:
    const std::string operation_;
    const std::map<std::string, std::string>& options_;
};

}  // namespace ops

#endif
