#include "ElfSymbols.h"
#include "ModuleTest.h"

#include <dlfcn.h>

#include <algorithm>

namespace {

using integration::demangled;
using integration::ElfSymbols;
using namespace testing;

class ModuleSymbolsTest : public integration::ModuleTest {
protected:
    const ElfSymbols symbols = integration::readElfSymbols(DETECTION_MODULE);

    static bool holdsOneOf(const std::string& text, const Lines& parts)
    {
        return std::any_of(parts.begin(), parts.end(),
                           [&](const std::string& part) { return text.find(part) != std::string::npos; });
    }

    static bool isPlatforms(const std::string& name)
    {
        return holdsOneOf(demangled(name), {"korva::meridan", "ravel", "analytics_lib", "RavelApi"});
    }

    std::vector<std::string> platformSymbols() const
    {
        std::vector<std::string> names;
        std::copy_if(symbols.undefined.begin(), symbols.undefined.end(), std::back_inserter(names), isPlatforms);
        return names;
    }
};

TEST_F(ModuleSymbolsTest, showsNothingOfTheSystemsOwnCode)
{
    const Lines own = {"DetectionPlugin", "PtzShim",        "OnvifTarget", "ProxyTarget", "OnvifSettings",
                       "RuleSetMap",      "json::",         "Json::",      "toColorYuv",  "toUnsigned",
                       "ServiceArray",    "throwOnFailure", "printRaw",    "pugi"};
    for (const std::string& name : symbols.defined) {
        EXPECT_FALSE(holdsOneOf(demangled(name), own)) << demangled(name);
    }
}

TEST_F(ModuleSymbolsTest, showsOnlyWhatTheLoaderUnites)
{
    // Inline code and type information of the libraries and of the seam, which must be one in the process, and what
    // linkers and sanitizers add.
    const Lines shared = {"std::",
                          "boost::",
                          "__gnu_cxx::",
                          "operator new",
                          "operator delete",
                          "analytics_lib::I",
                          "YuvFrame",
                          "ColorYuv",
                          "MetadataBuffers",
                          "ravel::core::RavelApiException",
                          "korva::meridan::PluginManager",
                          "korva::meridan::BasicFilterPlugin",
                          "korva::meridan::PipelinePlugin",
                          "korva::meridan::SourceSide",
                          "korva::meridan::SinkSide",
                          "korva::meridan::Buffer",
                          "korva::meridan::Sink",
                          "korva::meridan::Source",
                          "_init",
                          "_fini",
                          "_edata",
                          "_end",
                          "__bss_start",
                          "__gcov",
                          "asan",
                          "ubsan",
                          "tsan"};
    for (const std::string& name : symbols.defined) {
        EXPECT_TRUE(holdsOneOf(demangled(name), shared)) << demangled(name);
    }
}

TEST_F(ModuleSymbolsTest, takesThePlatformFromTheProcessThatLoadsIt)
{
    const std::vector<std::string> names = platformSymbols();
    EXPECT_GT(names.size(), 30U);
    for (const std::string& name : names) {
        EXPECT_NE(dlsym(RTLD_DEFAULT, name.c_str()), nullptr) << demangled(name);
    }
    EXPECT_THAT(names, Contains("ravel_core_logging_log"));
    EXPECT_THAT(names, Contains("_ZTI31RavelApiAnalyticsTargetImplBase")) << "type information is the host's";
}

TEST_F(ModuleSymbolsTest, namesNoLibraryOfACamera)
{
    EXPECT_THAT(symbols.needed, Not(IsEmpty()));
    EXPECT_THAT(
        symbols.needed,
        Each(ContainsRegex("^(libpugixml|libjsoncpp|libxml2|libstdc\\+\\+|libc\\+\\+|libm|libgcc_s|libc|libpthread|"
                           "libasan|libubsan|libtsan|libclang_rt.*|ld-linux.*)\\.so")));
}

TEST_F(ModuleSymbolsTest, callsNothingOfLibxml2ButItsCleanUp)
{
    Lines calls;
    std::copy_if(symbols.undefined.begin(), symbols.undefined.end(), std::back_inserter(calls),
                 [](const auto& name) { return name.compare(0, 3, "xml") == 0 || name.compare(0, 4, "html") == 0; });
    EXPECT_THAT(calls, ElementsAre("xmlCleanupParser"));
}

} // namespace
