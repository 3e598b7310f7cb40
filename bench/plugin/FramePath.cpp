#include "bench/plugin/BenchHost.h"
#include "bench/plugin/Rows.h"

#include <cstdlib>

namespace bench {

namespace {

class Empty {
public:
    virtual ~Empty() = default;
    virtual void call() = 0;
};

class Quiet final : public Empty {
public:
    void call() override { asm volatile("" : : : "memory"); }
};

class Other final : public Empty {
public:
    void call() override { keep(this); }
};

// The class is chosen at run time, so the compiler cannot call directly.
std::unique_ptr<Empty> makeEmpty()
{
    if (std::getenv("BENCH_OTHER_CLASS") != nullptr) {
        return std::make_unique<Other>();
    }
    return std::make_unique<Quiet>();
}

} // namespace

void compareFramePath(const Pairs& pairs)
{
    storedDocument() = "[]";
    const auto plugin = buildPlugin();
    const auto object = makeEmpty();
    Empty* target = object.get();
    pairs.compare("one frame through the module", timed([&] { deliverFrame(*plugin); }), "100 empty virtual calls",
                  timed([&] {
                      for (int i = 0; i < 100; ++i) {
                          keep(target);
                          target->call();
                      }
                  }),
                  atMost(1));
}

} // namespace bench
