// What was asked of a camera, so that it can be asked again.
#ifndef GENICAM_ASKED_H
#define GENICAM_ASKED_H

#include <cstddef>
#include <utility>
#include <vector>

#include "genicam/item.h"

namespace genicam {

/// Not thread-safe.
class CAsked
{
public:
    struct TStep
    {
        std::size_t item;
        TValue value;
    };

    /// What the camera was asked for and has accepted, in place of what was asked of the same thing before: of the same
    /// feature, as the selectors are now. A mode that is not Manual takes the place of the value that it governs;
    /// Once itself is nothing that would be asked again.
    void Add(const std::vector<TItem>& items, std::size_t item, const TValue& value);

    /// An automatic mode is over: Manual and the value that the camera has found count as asked for.
    void AddResult(const std::vector<TItem>& items, std::size_t mode);

    /// Everything again in an order that a camera takes which comes fresh from power-on: manual modes; values in the
    /// order of asking, each under the selectors of that time, and the selectors as they are now; automatic modes.
    std::vector<TStep> Plan(const std::vector<TItem>& items) const;

private:
    struct TAsk
    {
        TStep step;
        std::vector<std::pair<std::size_t, TValue>> selectors;
    };

    std::vector<TAsk> asks_;  ///< oldest first
};

}  // namespace genicam

#endif
