#ifndef UTILITIES_VESKASSERT_H
#define UTILITIES_VESKASSERT_H

// Programming-error checks. They stay active in every build type: a unit in
// the field that breaks an invariant must stop (and be restarted by its
// supervisor) rather than go on with corrupt state.
//
// VESK_ASSERT(expr) prints the expression text, VESK_ASSERT_TEXT(expr, text)
// a text chosen by the caller (used where one piece of shared code serves
// several classes, each with its own wording). Both print the source file,
// the line and the full signature of the enclosing function, then abort.

[[noreturn]] void VeskAssertFailed(const char* Text, const char* File, int Line, const char* Function);

#define VESK_ASSERT(expr) \
    ((expr) ? static_cast<void>(0) : VeskAssertFailed(#expr, __FILE__, __LINE__, __PRETTY_FUNCTION__))

#define VESK_ASSERT_TEXT(expr, text) \
    ((expr) ? static_cast<void>(0) : VeskAssertFailed((text), __FILE__, __LINE__, __PRETTY_FUNCTION__))

#endif
