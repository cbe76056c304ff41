#include "images/natural_order.h"

#include <cstddef>

namespace images {

namespace {

/// A run of digits without its leading zeros.
std::string TakeNumber(const std::string& text, std::size_t* position)
{
    std::size_t end = *position;
    while (end < text.size() && IsDigit(text[end]))
        ++end;
    std::size_t begin = *position;
    while (begin + 1 < end && text[begin] == '0')
        ++begin;
    *position = end;
    return text.substr(begin, end - begin);
}

}  // namespace

bool NaturalLess(const std::string& a, const std::string& b)
{
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < a.size() && j < b.size()) {
        if (IsDigit(a[i]) && IsDigit(b[j])) {
            const std::string x = TakeNumber(a, &i);
            const std::string y = TakeNumber(b, &j);
            if (x.size() != y.size())
                return x.size() < y.size();
            if (x != y)
                return x < y;
        } else {
            const unsigned char x = static_cast<unsigned char>(a[i++]);
            const unsigned char y = static_cast<unsigned char>(b[j++]);
            if (x != y)
                return x < y;
        }
    }
    if ((i < a.size()) != (j < b.size()))
        return j < b.size();
    return a < b;
}

}  // namespace images
