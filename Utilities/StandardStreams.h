#ifndef UTILITIES_STANDARDSTREAMS_H
#define UTILITIES_STANDARDSTREAMS_H

// Makes sure descriptors 0, 1 and 2 are open before a program opens anything
// else: a stream closed by whoever started it is reopened on /dev/null.
// Otherwise the next open takes its number, and every line printed "to
// standard output" goes into that file instead (the task's own command pipe,
// say). Call it first thing in main. False when a slot could not be filled
// at all; the program should not go on then.
bool OpenStandardStreams();

#endif
