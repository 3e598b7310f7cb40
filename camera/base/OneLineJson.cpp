#include "camera/base/OneLineJson.h"

#include <json/writer.h>

namespace camera::base {

std::string oneLineJson(const Json::Value& value)
{
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    builder["emitUTF8"] = true;
    return Json::writeString(builder, value);
}

} // namespace camera::base
