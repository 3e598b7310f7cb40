#pragma once

#include "ravel/logging.h"

#pragma GCC visibility push(default)

/**
 * The analytics target as the service runner calls it. The order of the virtual operations is a
 * contract with the runner's binary.
 *
 * Input lists end with a null pointer and stay the caller's; output lists, their entries and output
 * strings come from malloc and become the caller's. Results are 0 on success.
 *
 * Thread: the runner calls one operation at a time, on the control thread.
 */
class __attribute__((visibility("default"))) RavelApiAnalyticsTargetImplBase {
public:
    explicit RavelApiAnalyticsTargetImplBase(void* logHandle);
    virtual ~RavelApiAnalyticsTargetImplBase();

    /// Whether the runner may serve this target; the base says yes.
    virtual bool isRunnable();

    virtual int getEventTopics(char*** topics) = 0;
    virtual int getSupportedRules(char*** types) = 0;
    virtual int getCurrentRules(char*** rules) = 0;
    virtual int createRules(char** rules, unsigned int* status) = 0;
    virtual int modifyRules(char** rules, unsigned int* status) = 0;
    virtual int deleteRules(char** names, unsigned int* status) = 0;
    virtual int getSupportedEngines(char*** types) = 0;
    virtual int getCurrentEngines(char*** engines) = 0;
    virtual int createEngines(char** engines, unsigned int* status) = 0;
    virtual int modifyEngines(char** engines, unsigned int* status) = 0;
    virtual int deleteEngines(char** names, unsigned int* status) = 0;
    virtual int getCurrentConfiguration(char** xml) = 0;
    virtual int setConfiguration(const char* xml, unsigned char* failed) = 0;
    virtual int restoreDefaultSettings() = 0;
    virtual int getUsedPtzPresets(char*** presets) = 0;
    virtual int readFramesFromFile(const char* engineName, const char* path, unsigned char flag) = 0;
    virtual int writeFramesToFile(const char* engineName, const char* path, unsigned int count) = 0;
    virtual int getPtzPresetConfiguration(const char* presetId, char** xml) = 0;

    /// Writes one line on the base's own log handle.
    virtual void log(ravel_core_log_priority priority, const char* format, ...) const
        __attribute__((format(printf, 3, 4)));

    /// Sends an analytics event to the service's clients. Sending while nobody serves the target
    /// does nothing. Thread-safe.
    ravel_core_status sendEventAnalyticsEvent(const char* topic, const char* source, const char* data) const;

protected:
    RavelApiAnalyticsTargetImplBase(const RavelApiAnalyticsTargetImplBase&) = delete;
    RavelApiAnalyticsTargetImplBase& operator=(const RavelApiAnalyticsTargetImplBase&) = delete;

private:
    void* _baseLogHandle;
};

#pragma GCC visibility pop
