#include "Answers.h"

#include "kit/ServiceLists.h"

namespace hostile {

using korva::meridan::OnvifTarget;

std::string setConfiguration(OnvifTarget& target, const std::string& text)
{
    unsigned char failed = 9;
    const int result = target.setConfiguration(text.c_str(), &failed);
    return std::to_string(result) + "/" + std::to_string(failed);
}

unsigned int callWithList(OnvifTarget& target, ListOperation operation, const std::vector<std::string>& texts)
{
    kit::InputList list(texts);
    unsigned int status = 99;
    (target.*operation)(list, &status);
    return status;
}

std::vector<std::string> ask(OnvifTarget& target, ListQuery query)
{
    char** list = nullptr;
    (target.*query)(&list);
    return kit::takeList(list);
}

std::string currentConfiguration(OnvifTarget& target)
{
    char* text = nullptr;
    target.getCurrentConfiguration(&text);
    return kit::takeText(text);
}

std::string presetConfiguration(OnvifTarget& target, const std::string& preset)
{
    char* text = nullptr;
    target.getPtzPresetConfiguration(preset.c_str(), &text);
    return kit::takeText(text);
}

} // namespace hostile
