#include "camera/framework/PluginLoader.h"

#include "camera/framework/PluginConfiguration.h"
#include "kit/Refusal.h"
#include "kit/TemporaryFolder.h"

#include <elf.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace {

using camera::framework::loadPlugin;

const std::string kName = "DetectionPlugin";

std::string refusalOf(const std::filesystem::path& file)
{
    return kit::refusalOf([&] { loadPlugin(file, kName); });
}

std::uintptr_t productOf(korva::meridan::PluginManager::Factory factory)
{
    korva::meridan::MeridanEnv environment;
    return reinterpret_cast<std::uintptr_t>(factory(&environment, korva::meridan::IPluginConfiguration(kName)));
}

TEST(PluginLoaderTest, findsTheFactoryByItsNameAmongOthers)
{
    EXPECT_EQ(productOf(loadPlugin(MODULE_good, kName)), 0x1000u);
    EXPECT_EQ(productOf(loadPlugin(MODULE_good, "OtherPlugin")), 0u);
}

TEST(PluginLoaderTest, findsTheSameFactoryWhenAModuleIsLoadedAgain)
{
    const auto first = loadPlugin(MODULE_good, kName);
    EXPECT_EQ(loadPlugin(MODULE_good, kName), first);
}

TEST(PluginLoaderTest, keepsModulesOfOneNameApart)
{
    EXPECT_EQ(productOf(loadPlugin(MODULE_good, kName)), 0x1000u);
    EXPECT_EQ(productOf(loadPlugin(MODULE_second, kName)), 0x2000u);
    EXPECT_EQ(productOf(loadPlugin(MODULE_good, kName)), 0x1000u);
}

TEST(PluginLoaderTest, takesARelativePathWithoutAFolder)
{
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(std::filesystem::path(MODULE_good).parent_path());
    EXPECT_EQ(productOf(loadPlugin(std::filesystem::path(MODULE_good).filename(), kName)), 0x1000u);
    std::filesystem::current_path(before);
}

TEST(PluginLoaderTest, saysThatAFileIsMissing)
{
    EXPECT_EQ(refusalOf("/nowhere/libdetection.so"),
              "the plug-in /nowhere/libdetection.so does not exist; build it, or name another one");
    EXPECT_EQ(refusalOf(""), "the plug-in  does not exist; build it, or name another one");
}

TEST(PluginLoaderTest, saysThatAFolderIsNoLibrary)
{
    const kit::TemporaryFolder folder;
    EXPECT_EQ(refusalOf(folder.path()),
              "the plug-in " + folder.path().string() + " is not a file; name the library itself");
}

TEST(PluginLoaderTest, saysThatATextOrATruncatedFileIsNoLibrary)
{
    const kit::TemporaryFolder folder;
    const std::string reason = " is not a shared library; name the built library";
    std::ofstream(folder / "text") << "a text that is much longer than the header of a shared library would have to be";
    EXPECT_EQ(refusalOf(folder / "text"), "the plug-in " + (folder / "text").string() + reason);
    std::ofstream(folder / "empty");
    EXPECT_EQ(refusalOf(folder / "empty"), "the plug-in " + (folder / "empty").string() + reason);
    std::ofstream(folder / "short", std::ios::binary) << kit::contentOf(MODULE_good).substr(0, 30);
    EXPECT_EQ(refusalOf(folder / "short"), "the plug-in " + (folder / "short").string() + reason);
}

TEST(PluginLoaderTest, saysWhyALibraryCutInItsMiddleCannotBeLoaded)
{
    const kit::TemporaryFolder folder;
    std::ofstream(folder / "cut", std::ios::binary) << kit::contentOf(MODULE_good).substr(0, 200);
    EXPECT_THAT(refusalOf(folder / "cut"),
                testing::StartsWith("the plug-in " + (folder / "cut").string() + " cannot be loaded: "));
}

TEST(PluginLoaderTest, saysThatALibraryIsForAnotherMachine)
{
    const kit::TemporaryFolder folder;
    std::string bytes = kit::contentOf(MODULE_good);
    bytes[offsetof(Elf64_Ehdr, e_machine)] = static_cast<char>(EM_PPC64);
    std::ofstream(folder / "foreign", std::ios::binary) << bytes;
    EXPECT_EQ(refusalOf(folder / "foreign"),
              "the plug-in " + (folder / "foreign").string() + " was built for another machine; build it for this one");
}

TEST(PluginLoaderTest, namesTheSymbolThatIsMissing)
{
    EXPECT_EQ(refusalOf(MODULE_needy),
              "the plug-in " MODULE_needy " needs \"nobody::offers(char const*)\", which this program does not offer; "
              "build both from one source");
}

TEST(PluginLoaderTest, saysThatALibraryRegistersNothing)
{
    EXPECT_EQ(refusalOf(MODULE_silent),
              "the plug-in " MODULE_silent " registers no plug-in; name the detection plug-in");
    EXPECT_EQ(refusalOf(MODULE_silent),
              "the plug-in " MODULE_silent " registers no plug-in; name the detection plug-in")
        << "the second time too";
}

TEST(PluginLoaderTest, namesWhatALibraryRegistersInstead)
{
    EXPECT_EQ(refusalOf(MODULE_other), "the plug-in " MODULE_other " registers no \"DetectionPlugin\", only "
                                       "\"BlurPlugin\", \"CropPlugin\"; name the detection plug-in");
}

} // namespace
