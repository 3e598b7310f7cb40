#pragma once

#include <stdexcept>

namespace json {

/// A document that does not have the expected shape: a missing member, an element of another kind.
class Exception : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace json
