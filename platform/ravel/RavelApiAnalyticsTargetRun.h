#pragma once

#include <boost/shared_ptr.hpp>

#include <memory>
#include <string>

class RavelApiAnalyticsTargetImplBase;

#pragma GCC visibility push(default)

/// Serves an analytics target under a service name for as long as this object lives.
class __attribute__((visibility("default"))) RavelApiAnalyticsTargetRun {
public:
    RavelApiAnalyticsTargetRun(const std::string& serviceName, void* logHandle,
                               boost::shared_ptr<RavelApiAnalyticsTargetImplBase> target);
    ~RavelApiAnalyticsTargetRun();

private:
    RavelApiAnalyticsTargetRun(const RavelApiAnalyticsTargetRun&) = delete;
    RavelApiAnalyticsTargetRun& operator=(const RavelApiAnalyticsTargetRun&) = delete;

    struct Serving;
    std::unique_ptr<Serving> _serving;
};

#pragma GCC visibility pop
