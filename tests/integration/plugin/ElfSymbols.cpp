#include "ElfSymbols.h"

#include "kit/TemporaryFolder.h"

#include <cxxabi.h>
#include <elf.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace integration {

namespace {

/// The bytes of the file with bounds-checked access to its tables.
class ElfFile {
public:
    explicit ElfFile(const std::string& path) : _bytes(kit::contentOf(path))
    {
        if (_bytes.size() < sizeof(Elf64_Ehdr) || std::memcmp(_bytes.data(), ELFMAG, SELFMAG) != 0 ||
            _bytes[EI_CLASS] != ELFCLASS64) {
            throw std::runtime_error(path + " is no 64-bit library");
        }
        const auto header = at<Elf64_Ehdr>(0);
        for (std::size_t i = 0; i < header.e_shnum; ++i) {
            _sections.push_back(at<Elf64_Shdr>(header.e_shoff + i * header.e_shentsize));
        }
    }

    template <typename Entry>
    std::vector<Entry> table(Elf64_Word type, Elf64_Shdr& found) const
    {
        std::vector<Entry> entries;
        for (const Elf64_Shdr& section : _sections) {
            if (section.sh_type == type) {
                found = section;
                for (std::size_t i = 0; i < section.sh_size / sizeof(Entry); ++i) {
                    entries.push_back(at<Entry>(section.sh_offset + i * sizeof(Entry)));
                }
            }
        }
        return entries;
    }

    std::string text(const Elf64_Shdr& user, std::uint64_t offset) const
    {
        return &_bytes.at(_sections.at(user.sh_link).sh_offset + offset);
    }

private:
    template <typename Record>
    Record at(std::uint64_t offset) const
    {
        Record record;
        if (offset + sizeof(record) > _bytes.size()) {
            throw std::runtime_error("the library is cut short");
        }
        std::memcpy(&record, &_bytes[offset], sizeof(record));
        return record;
    }

    const std::string _bytes;
    std::vector<Elf64_Shdr> _sections;
};

} // namespace

ElfSymbols readElfSymbols(const std::string& path)
{
    const ElfFile file(path);
    ElfSymbols symbols;
    Elf64_Shdr section{};
    for (const auto& symbol : file.table<Elf64_Sym>(SHT_DYNSYM, section)) {
        const std::string name = file.text(section, symbol.st_name);
        const bool visible = ELF64_ST_VISIBILITY(symbol.st_other) == STV_DEFAULT;
        if (!name.empty() && visible) {
            (symbol.st_shndx == SHN_UNDEF ? symbols.undefined : symbols.defined).push_back(name);
        }
    }
    for (const auto& entry : file.table<Elf64_Dyn>(SHT_DYNAMIC, section)) {
        if (entry.d_tag == DT_NEEDED) {
            symbols.needed.push_back(file.text(section, entry.d_un.d_val));
        }
    }
    return symbols;
}

std::string demangled(const std::string& name)
{
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> text(abi::__cxa_demangle(name.c_str(), nullptr, nullptr, &status),
                                                      std::free);
    return status == 0 ? text.get() : name;
}

} // namespace integration
