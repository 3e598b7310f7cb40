#include "camera/base/InputName.h"

#include <filesystem>

namespace camera::base {

namespace {

const std::string kFileScheme = "file:";

} // namespace

bool isStandardInput(const std::string& input)
{
    return input == "-" || input == "pipe:0";
}

bool isFileUrl(const std::string& input)
{
    return input.compare(0, kFileScheme.size(), kFileScheme) == 0;
}

std::string pathOfInput(const std::string& input)
{
    return isFileUrl(input) ? input.substr(kFileScheme.size()) : input;
}

bool isReadOnce(const std::string& input)
{
    std::error_code ignored;
    return isStandardInput(input) || std::filesystem::is_fifo(pathOfInput(input), ignored);
}

} // namespace camera::base
