#include "bench/plugin/BenchHost.h"
#include "bench/plugin/Documents.h"
#include "bench/plugin/Rows.h"

#include "json/Array.h"
#include "json/Object.h"
#include "json/Reader.h"
#include "json/UnknownElement.h"
#include "json/Writer.h"

namespace bench {

namespace {

std::string document(std::int64_t keys)
{
    json::Array array;
    for (std::int64_t i = 0; i < keys; ++i) {
        json::Object object;
        object.Append("key", "StubP" + std::to_string(i));
        object.Append("config", configuration(4096, "P" + std::to_string(i)));
        array.Append(std::move(object));
    }
    return json::Writer::Write(array);
}

} // namespace

void compareStartUp(const Pairs& pairs)
{
    const std::string text = document(1000);
    storedDocument() = text;
    pairs.compare("start and stop, 1000 stored keys of 4 KiB", timed([] { buildPlugin(); }), "reading the document",
                  timed([&] { keep(json::Reader::Read(text).Size()); }));
}

} // namespace bench
