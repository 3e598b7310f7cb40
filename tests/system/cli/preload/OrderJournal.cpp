// Loaded before everything else, it writes on stderr in which order the process uses what shares one XML parser.

#include <cstdio>

#include <dlfcn.h>

namespace {

template <typename Function>
Function next(const char* name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

void note(const char* what)
{
    std::fprintf(stderr, "journal: %s\n", what);
}

} // namespace

extern "C" {

__attribute__((visibility("default"))) int avformat_open_input(void** context, const char* url, const void* format,
                                                               void** options)
{
    note("a demuxer is opened");
    return next<int (*)(void**, const char*, const void*, void**)>("avformat_open_input")(context, url, format,
                                                                                          options);
}

__attribute__((visibility("default"))) void avformat_close_input(void** context)
{
    note("a demuxer is closed");
    next<void (*)(void**)>("avformat_close_input")(context);
}

__attribute__((visibility("default"))) int av_write_trailer(void* context)
{
    note("a muxer is finished");
    return next<int (*)(void*)>("av_write_trailer")(context);
}

__attribute__((visibility("default"))) void xmlCleanupParser()
{
    note("the parser is cleaned up");
    next<void (*)()>("xmlCleanupParser")();
}
}
