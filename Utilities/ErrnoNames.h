#ifndef UTILITIES_ERRNONAMES_H
#define UTILITIES_ERRNONAMES_H

// Symbolic name of a Linux errno number ("ENOENT" for 2), for diagnostics
// that read better with names than with numbers. Null for a number that
// has no name (0, negative values, gaps such as 41, anything past
// ENOTRECOVERABLE). Where two names share a number the primary one is given
// (EAGAIN, EDEADLK, EOPNOTSUPP). The table is constant data, complete before
// any code runs, so it may be used from static initialisers.
const char* ErrnoName(int Number);

#endif
