#include "target/ConfigurationXml.h"

namespace korva::meridan {

namespace {

class StringWriter final : public pugi::xml_writer {
public:
    explicit StringWriter(std::string& text) : _text(text) {}

    void write(const void* data, std::size_t size) override { _text.append(static_cast<const char*>(data), size); }

private:
    std::string& _text;
};

} // namespace

std::string printRaw(const pugi::xml_node& node, std::size_t sizeHint)
{
    std::string text;
    text.reserve(sizeHint);
    StringWriter writer(text);
    node.print(writer, "", pugi::format_raw, pugi::encoding_auto, 0);
    return text;
}

} // namespace korva::meridan
