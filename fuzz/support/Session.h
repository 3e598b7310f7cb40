#pragma once

#include "support/Device.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace fuzz {

/**
 * Plays an input on a device: a record is one operation, named by its first character; the rest is its text.
 *
 *   s  a whole configuration                c m d  create, modify, delete a rule (C M D: a module)
 *   +  one more item for the list before    q      a preset's configuration
 *   p  preset reached  l  left  x  other    r      preset removed
 *   v  moving (1) or stopped                t k    tour state, command priority (a number)
 *   n  day and night filter moves           w      window blanking
 *   o  orientation (a number)               e      an engine's event
 *   g  frame files                          f      the next write to the store fails
 *   z  default settings                     b      restart
 *   F  first record only: a camera that cannot move and has no services
 */
class Session {
public:
    static void play(const std::uint8_t* data, std::size_t size);

private:
    void run(const std::vector<std::string>& records);
    void perform(char operation, const std::string& text);
    bool performFollowing(char operation, const std::string& text);
    void callList(char operation, const std::vector<std::string>& items);

    Device _device;
};

} // namespace fuzz
