#include "integration/camera_power/DiskModel.h"

#include <algorithm>

namespace {

constexpr std::size_t kSectorBytes = 512;

bool coin(std::mt19937_64& random)
{
    return (random() >> 32) % 2 == 0;
}

void put(std::string& content, std::size_t at, const char* bytes, std::size_t count)
{
    content.resize(std::max(content.size(), at + count), '\0');
    content.replace(at, count, bytes, count);
}

void putSomeSectors(std::string& content, const DiskCall& call, std::mt19937_64& random)
{
    const auto begin = static_cast<std::size_t>(call.offset);
    const std::size_t end = begin + call.bytes.size();
    for (std::size_t at = begin; at < end;) {
        const std::size_t next = std::min(end, (at / kSectorBytes + 1) * kSectorBytes);
        if (coin(random)) {
            put(content, at, call.bytes.data() + (at - begin), next - at);
        }
        at = next;
    }
}

void applyTo(std::string& content, const DiskCall& call)
{
    if (call.kind == DiskCall::Kind::truncate) {
        content.resize(static_cast<std::size_t>(call.offset), '\0');
    } else {
        put(content, static_cast<std::size_t>(call.offset), call.bytes.data(), call.bytes.size());
    }
}

} // namespace

DiskModel::DiskModel(const Files& durable)
{
    int number = 0;
    for (const auto& [name, content] : durable) {
        _files[++number].durable = content;
        _durableNames[name] = number;
    }
}

void DiskModel::rename(Names& names, const DiskCall& call)
{
    switch (call.kind) {
    case DiskCall::Kind::create:
        names[call.name] = call.file;
        break;
    case DiskCall::Kind::rename:
        names.erase(call.name);
        names[call.newName] = call.file;
        break;
    default:
        names.erase(call.name);
    }
}

void DiskModel::apply(const DiskCall& call)
{
    switch (call.kind) {
    case DiskCall::Kind::write:
    case DiskCall::Kind::truncate:
        _files[call.file].pending.push_back(call);
        break;
    case DiskCall::Kind::sync: {
        File& file = _files[call.file];
        for (const DiskCall& pending : file.pending) {
            applyTo(file.durable, pending);
        }
        file.pending.clear();
        break;
    }
    case DiskCall::Kind::syncFolder:
        for (const DiskCall& pending : _pendingNames) {
            rename(_durableNames, pending);
        }
        _pendingNames.clear();
        break;
    default:
        _files[call.file]; // a new one is empty
        _pendingNames.push_back(call);
    }
}

std::string DiskModel::content(const File& file, Fate fate, std::mt19937_64& random)
{
    std::string content = file.durable;
    const std::size_t reached = file.pending.empty() ? 0 : random() % (file.pending.size() + 1);
    for (std::size_t index = 0; index < file.pending.size(); ++index) {
        const DiskCall& call = file.pending[index];
        const bool torn = fate == Fate::sectors || (fate == Fate::prefix && index == reached);
        if (torn && call.kind == DiskCall::Kind::write) {
            putSomeSectors(content, call, random);
        } else if (fate == Fate::kept || (fate == Fate::prefix && index < reached) ||
                   ((fate == Fate::some || fate == Fate::sectors) && coin(random))) {
            applyTo(content, call);
        }
    }
    return content;
}

DiskModel::Names DiskModel::names(Fate fate, std::mt19937_64& random) const
{
    Names names = _durableNames;
    const std::size_t reached = random() % (_pendingNames.size() + 1);
    for (std::size_t index = 0; index < _pendingNames.size(); ++index) {
        if (fate == Fate::kept || (fate == Fate::prefix && index < reached) ||
            ((fate == Fate::some || fate == Fate::sectors) && coin(random))) {
            rename(names, _pendingNames[index]);
        }
    }
    return names;
}

Files DiskModel::afterCut(std::mt19937_64& random) const
{
    const auto drawFate = [&random] { return static_cast<Fate>((random() >> 32) % 5); };
    Files files;
    for (const auto& [name, number] : names(drawFate(), random)) {
        files[name] = content(_files.at(number), drawFate(), random);
    }
    if (files.count("settings.db") != 0 && coin(random)) {
        files["settings.db-shm"] = std::string(32768, static_cast<char>(random() % 256));
    }
    return files;
}
