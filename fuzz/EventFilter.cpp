// What clients say of the events that they want: any bytes are refused, or choose as the text says whatever its blanks
// are. The first byte tells what the others are: T and C a topic, F a filter, anything else an element that is
// rewritten.

#include "camera/onvif/EventFilter.h"
#include "camera/onvif/CanonicalNames.h"
#include "support/Check.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using namespace camera::onvif;

Notification notification()
{
    Notification made{"tns1:RuleEngine/A", "2024-06-30T12:00:00Z", PropertyOperation::changed};
    made.source = {{"Rule", "Gate"}};
    made.data = {{"State", "true"}};
    made.dataElements = {"<tt:ElementItem Name=\"Field\"/>"};
    return made;
}

void checkTopic(const std::string& text, TopicDialect dialect)
{
    try {
        const TopicExpression expression(text, dialect);
        const bool concrete = dialect == TopicDialect::concrete;
        const std::string first = text.substr(0, concrete ? text.size() : text.find('|'));
        fuzz::check(first.find(':') != std::string::npos, "a topic has a prefix");
        for (const char* const topic : {"tns1:RuleEngine", "tns1:RuleEngine/A"}) {
            const bool matches = expression.matches(topic);
            fuzz::check(!matches || text.find("tns1:RuleEngine") != std::string::npos, "only what is named matches");
            if (!concrete) {
                fuzz::check(TopicExpression(text + "|tns1:RuleEngine//.", dialect).matches(topic), "one is enough");
                fuzz::check(TopicExpression("tns1:Other|" + text, dialect).matches(topic) == matches,
                            "what does not match changes nothing");
            }
        }
    } catch (const ExpressionRefusal&) { // the added text may make it too long
    }
}

void checkFilter(const std::string& text)
{
    static const Notification message = notification();
    try {
        const bool matches = ItemFilter(text).matches(message);
        const std::string negated = "not(" + text + ")";
        if (negated.size() <= ItemFilter::kLongest) {
            fuzz::check(ItemFilter(negated).matches(message) != matches, "not is the contrary");
        }
    } catch (const ExpressionRefusal&) { // or too deep
    }
}

void checkNames(const std::string& text)
{
    try {
        const pugi::xml_document document = parsed(text);
        makeCanonical(document, text, NamespaceTable::ofMessages(), 64);
    } catch (const XmlRefusal&) {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    switch (data[0]) {
    case 'T':
        checkTopic(text, TopicDialect::concreteSet);
        break;
    case 'C':
        checkTopic(text, TopicDialect::concrete);
        break;
    case 'F':
        checkFilter(text);
        break;
    default:
        checkNames(text);
        break;
    }
    return 0;
}
