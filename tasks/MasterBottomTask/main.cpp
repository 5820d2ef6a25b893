// Entry point of the master bottom task process. Started on every model by
// the unit's start-up scripts; runs only on the product family that has a
// master bottom to publish.
#include <unistd.h>

#include <cstdio>
#include <memory>

#include "Database/DatabaseErrorStatusMessage.h"
#include "Utilities/OSSLinuxFactory.h"
#include "Utilities/PidFile.h"
#include "Utilities/ProductFamily.h"
#include "Utilities/StandardStreams.h"
#include "tasks/MasterBottomTask/MasterBottomTask.h"

namespace {

const char* const cWhere = "MasterBottomTask main()";

} // namespace

int main()
{
    // Before anything is opened: a closed standard output would hand its
    // number to the command pipe, and every event line would land in it.
    if (!OpenStandardStreams()) {
        return 1;
    }
    // Created in this order and kept until the process ends (the factory
    // outlives everything built on it).
    const std::unique_ptr<COSSLinuxFactory> factory(new COSSLinuxFactory());
    COSSLinuxFactory* const pFactory = factory.get();
    const std::unique_ptr<CDatabaseErrorStatusMessage> errorStatus(new CDatabaseErrorStatusMessage(pFactory));
    pFactory->SetErrorStatusMessage(errorStatus.get());

    if (GetProductFamily(pFactory) != cProductFamilyMasterBottom) {
        pFactory->SendEvent(cInfoLevel, SUCCESS, cWhere, "NO NEED TO LAUNCH MASTERBOTTOM TASK ON THIS SOUNDER ");
        return 0;
    }

    const std::unique_ptr<IVesk900Task> pTask(new MasterBottomTask(pFactory));
    pFactory->SendEvent(cInfoLevel, SUCCESS, cWhere, "Launching DUSKO5 MasterBottomTask");

    const VeskEventCode_T status = pTask->GetStatus();
    if (status != SUCCESS) {
        pFactory->SendEvent(cErrorLevel, status, "main()", "Failed to create MasterBottomTask Task");
        return 1;
    }

    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        pTask->Start(0);
        return 0;
    }

    // The parent only waits for the child to announce itself; it does not
    // reap it: the child outlives the parent and is adopted by init.
    CPidFile pidFile(pFactory, nullptr);
    if (pidFile.WaitForPidFile(child)) {
        return 0;
    }
    pFactory->SendEvent(cErrorLevel, 1, cWhere, "No PID found");
    return 1;
}
