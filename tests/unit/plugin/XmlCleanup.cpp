// Stands before the library's function of this name, so that the journal shows when it is called.

#include "kit/HostSeam.h"

#include <dlfcn.h>
#include <libxml/parser.h>

void xmlCleanupParser()
{
    kit::journal().add(kit::Part::Framework, "xmlCleanupParser");
    static const auto original = reinterpret_cast<void (*)()>(dlsym(RTLD_NEXT, "xmlCleanupParser"));
    original();
}
