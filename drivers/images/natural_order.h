// The order in which people count: left2 before left10.
#ifndef IMAGES_NATURAL_ORDER_H
#define IMAGES_NATURAL_ORDER_H

#include <string>

namespace images {

/// True when `a` comes before `b`: runs of digits compare as numbers of any length, everything else byte by byte; names
/// that count the same ("left1", "left01") fall back to byte order, so that the order is total.
bool NaturalLess(const std::string& a, const std::string& b);

/// '0' to '9' under every locale.
inline bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

}  // namespace images

#endif
