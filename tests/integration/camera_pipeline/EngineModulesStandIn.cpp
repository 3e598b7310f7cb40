// The engines of these tests come with the program; none is loaded.
#include "camera/engines/EngineModules.h"

namespace camera::engines {

void addEngineModule(const std::string& /*path*/)
{
}

void clearEngineModules()
{
}

} // namespace camera::engines
