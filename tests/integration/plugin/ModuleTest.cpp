#include "ModuleTest.h"

#include <dlfcn.h>

#include <stdexcept>

namespace integration {

using kit::platform;
using korva::meridan::PluginManager;

namespace {

PluginManager::Factory load()
{
    if (dlopen(DETECTION_MODULE, RTLD_NOW | RTLD_LOCAL) == nullptr) {
        throw std::runtime_error(dlerror());
    }
    for (const auto& [name, factory] : kit::pluginFactories()) {
        if (name == "DetectionPlugin") {
            return factory;
        }
    }
    throw std::runtime_error("the module registered no DetectionPlugin");
}

unsigned int statusOf(int (RavelApiAnalyticsTargetImplBase::*operation)(char**, unsigned int*),
                      RavelApiAnalyticsTargetImplBase& target, const std::vector<std::string>& texts)
{
    kit::InputList list(texts);
    unsigned int status = 99;
    EXPECT_EQ((target.*operation)(list, &status), 0);
    return status;
}

} // namespace

PluginManager::Factory detectionFactory()
{
    static const PluginManager::Factory factory = load();
    return factory;
}

ModuleTest::ModuleTest()
{
    detectionFactory();
    kit::journal().clear();
    simple = addEngine("Simple");
    motion = addEngine("Motion");
}

ModuleTest::~ModuleTest()
{
    plugin.reset();
}

std::shared_ptr<kit::FakeEngine> ModuleTest::addEngine(const std::string& name)
{
    auto engine = std::make_shared<kit::FakeEngine>(name);
    platform().engineLibrary.engines.push_back(engine);
    return engine;
}

void ModuleTest::store(const std::vector<std::pair<std::string, std::string>>& settings)
{
    platform().settings.analytics() = kit::storedDocument(settings);
}

const std::string& ModuleTest::storedText()
{
    return platform().settings.analytics();
}

void ModuleTest::start()
{
    plugin.reset(detectionFactory()(&environment, pipelineSection));
}

void ModuleTest::startQuietly()
{
    start();
    kit::journal().clear();
}

void ModuleTest::deliver(korva::meridan::Buffer* buffer)
{
    dynamic_cast<korva::meridan::SinkSide&>(*plugin).OnBuffer(nullptr, buffer);
}

RavelApiAnalyticsTargetImplBase& ModuleTest::target()
{
    return *platform().framework.serving.at(0).target;
}

std::string ModuleTest::configure(const std::string& xml)
{
    unsigned char failed = 9;
    const int result = target().setConfiguration(xml.c_str(), &failed);
    return std::to_string(result) + "/" + std::to_string(failed);
}

unsigned int ModuleTest::createRules(const Lines& items)
{
    return statusOf(&RavelApiAnalyticsTargetImplBase::createRules, target(), items);
}

unsigned int ModuleTest::createModules(const Lines& items)
{
    return statusOf(&RavelApiAnalyticsTargetImplBase::createEngines, target(), items);
}

unsigned int ModuleTest::deleteByName(const Lines& names)
{
    return statusOf(&RavelApiAnalyticsTargetImplBase::deleteRules, target(), names);
}

ModuleTest::Lines ModuleTest::currentRules()
{
    char** list = nullptr;
    EXPECT_EQ(target().getCurrentRules(&list), 0);
    return kit::takeList(list);
}

std::string ModuleTest::currentConfiguration()
{
    char* text = nullptr;
    EXPECT_EQ(target().getCurrentConfiguration(&text), 0);
    return kit::takeText(text);
}

} // namespace integration
