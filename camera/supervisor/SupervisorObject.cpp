#include "camera/supervisor/SupervisorObject.h"

#include <utility>

namespace camera::supervisor {

SupervisorObject::SupervisorObject(const std::shared_ptr<bus::Session>& session, Operations operations)
    : SupervisorServer(session->connection()), _operations(std::move(operations))
{
    takeName();
}

std::vector<SupervisorObject::ProcessRow> SupervisorObject::processes()
{
    std::vector<ProcessRow> rows;
    for (const ProcessStatus& process : _operations.status().processes) {
        rows.emplace_back(process.name, static_cast<std::uint32_t>(process.pid), process.restarts, process.since,
                          process.lastExit);
    }
    return rows;
}

} // namespace camera::supervisor
