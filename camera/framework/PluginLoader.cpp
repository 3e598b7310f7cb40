#include "camera/framework/PluginLoader.h"

#include "camera/framework/PluginRegistry.h"

#include <array>
#include <cstdlib>
#include <cxxabi.h>
#include <dlfcn.h>
#include <elf.h>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <system_error>
#include <vector>

namespace camera::framework {

namespace {

#if defined(__x86_64__)
constexpr Elf64_Half kMachine = EM_X86_64;
#elif defined(__aarch64__)
constexpr Elf64_Half kMachine = EM_AARCH64;
#else
#error "name this machine's ELF number here"
#endif

[[noreturn]] void refuse(const std::filesystem::path& file, const std::string& what)
{
    throw std::runtime_error("the plug-in " + file.string() + " " + what);
}

void checkFile(const std::filesystem::path& file)
{
    std::error_code error;
    const auto status = std::filesystem::status(file, error);
    if (!std::filesystem::exists(status)) {
        refuse(file, "does not exist; build it, or name another one");
    }
    if (!std::filesystem::is_regular_file(status)) {
        refuse(file, "is not a file; name the library itself");
    }
    std::array<char, sizeof(Elf64_Ehdr)> bytes{};
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        refuse(file, "cannot be read; make it readable, or name another one");
    }
    stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    Elf64_Ehdr header{};
    std::copy(bytes.begin(), bytes.end(), reinterpret_cast<char*>(&header));
    const bool isElf =
        stream.gcount() == static_cast<std::streamsize>(bytes.size()) && std::string(bytes.data(), SELFMAG) == ELFMAG;
    if (!isElf || header.e_type != ET_DYN) {
        refuse(file, "is not a shared library; name the built library");
    }
    if (header.e_ident[EI_CLASS] != ELFCLASS64 || header.e_machine != kMachine) {
        refuse(file, "was built for another machine; build it for this one");
    }
}

std::string readable(const std::string& symbol)
{
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> text(abi::__cxa_demangle(symbol.c_str(), nullptr, nullptr, &status),
                                                      std::free);
    return status == 0 ? text.get() : symbol;
}

// Turns the dynamic linker's message into a sentence: what is missing, and who should have it.
[[noreturn]] void refuseAs(const std::filesystem::path& file, const std::string& message)
{
    const std::string undefined = "undefined symbol: ";
    const std::string noFile = ": cannot open shared object file";
    const auto symbol = message.find(undefined);
    if (symbol != std::string::npos) {
        const auto begin = symbol + undefined.size();
        const std::string name = message.substr(begin, message.find_first_of(", \n", begin) - begin);
        refuse(file, "needs \"" + readable(name) + "\", which this program does not offer; build both from one source");
    }
    const auto library = message.find(noFile);
    if (library != std::string::npos) {
        refuse(file, "needs the library " + message.substr(0, library) + ", which is not installed; install it");
    }
    refuse(file, "cannot be loaded: " + message);
}

std::string namesOf(const std::vector<PluginRegistry::Entry>& entries)
{
    std::string names;
    for (const auto& entry : entries) {
        names += (names.empty() ? "\"" : ", \"") + entry.name + "\"";
    }
    return names;
}

// What the module registered; static objects run only at the first load, so that is remembered.
std::vector<PluginRegistry::Entry> registrationsOf(const std::filesystem::path& file)
{
    static std::mutex mutex;
    static std::map<void*, std::vector<PluginRegistry::Entry>> loaded;

    const std::lock_guard<std::mutex> lock(mutex);
    const std::size_t before = PluginRegistry::instance().size();
    void* handle = dlopen(std::filesystem::absolute(file).c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (handle == nullptr) {
        const char* message = dlerror();
        refuseAs(file, message != nullptr ? message : "unknown reason");
    }
    return loaded.try_emplace(handle, PluginRegistry::instance().since(before)).first->second;
}

} // namespace

korva::meridan::PluginManager::Factory loadPlugin(const std::filesystem::path& file, const std::string& name)
{
    checkFile(file);
    const auto entries = registrationsOf(file);
    for (const auto& entry : entries) {
        if (entry.name == name && entry.factory != nullptr) {
            return entry.factory;
        }
    }
    refuse(file, entries.empty()
                     ? "registers no plug-in; name the detection plug-in"
                     : "registers no \"" + name + "\", only " + namesOf(entries) + "; name the detection plug-in");
}

} // namespace camera::framework
