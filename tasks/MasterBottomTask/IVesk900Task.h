#ifndef TASKS_MASTERBOTTOMTASK_IVESK900TASK_H
#define TASKS_MASTERBOTTOMTASK_IVESK900TASK_H

#include "Utilities/VeskEventCode.h"

// What the entry point knows of a task: whether construction worked, and
// the loop to run in the forked child.
class IVesk900Task {
public:
    virtual ~IVesk900Task() {}
    // Runs the task's loop until the task ends; returns what ended it.
    virtual VeskEventCode_T Start(int Argument) = 0;
    // The status construction left behind; SUCCESS means usable.
    virtual VeskEventCode_T GetStatus() = 0;
};

#endif
