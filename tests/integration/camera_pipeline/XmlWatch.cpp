#include "integration/camera_pipeline/XmlWatch.h"

XmlWatch& XmlWatch::instance()
{
    static XmlWatch watch;
    return watch;
}

extern "C" {

__attribute__((visibility("default"))) void xmlCleanupParser()
{
    ++XmlWatch::instance().cleanups;
    if (XmlWatch::instance().onCleanup) {
        XmlWatch::instance().onCleanup();
    }
}

__attribute__((visibility("default"))) void xmlInitParser()
{
    ++XmlWatch::instance().uses;
}

__attribute__((visibility("default"))) void* xmlNewParserCtxt()
{
    ++XmlWatch::instance().uses;
    return nullptr;
}

__attribute__((visibility("default"))) void* xmlReadMemory(const char* /*text*/, int /*size*/, const char* /*url*/,
                                                           const char* /*encoding*/, int /*options*/)
{
    ++XmlWatch::instance().uses;
    return nullptr;
}
}
