#include "Utilities/ErrnoNames.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <iterator>

namespace {

struct ErrnoRow_T {
    int Number;
    const char* Name;
};

// Keyed by the C library's own macros, so every row's number is the one this
// platform uses.
#define ERRNO_ROW(name) {name, #name}

constexpr ErrnoRow_T cErrnoNames[] = {
    ERRNO_ROW(EPERM),
    ERRNO_ROW(ENOENT),
    ERRNO_ROW(ESRCH),
    ERRNO_ROW(EINTR),
    ERRNO_ROW(EIO),
    ERRNO_ROW(ENXIO),
    ERRNO_ROW(E2BIG),
    ERRNO_ROW(ENOEXEC),
    ERRNO_ROW(EBADF),
    ERRNO_ROW(ECHILD),
    ERRNO_ROW(EAGAIN),
    ERRNO_ROW(ENOMEM),
    ERRNO_ROW(EACCES),
    ERRNO_ROW(EFAULT),
    ERRNO_ROW(ENOTBLK),
    ERRNO_ROW(EBUSY),
    ERRNO_ROW(EEXIST),
    ERRNO_ROW(EXDEV),
    ERRNO_ROW(ENODEV),
    ERRNO_ROW(ENOTDIR),
    ERRNO_ROW(EISDIR),
    ERRNO_ROW(EINVAL),
    ERRNO_ROW(ENFILE),
    ERRNO_ROW(EMFILE),
    ERRNO_ROW(ENOTTY),
    ERRNO_ROW(ETXTBSY),
    ERRNO_ROW(EFBIG),
    ERRNO_ROW(ENOSPC),
    ERRNO_ROW(ESPIPE),
    ERRNO_ROW(EROFS),
    ERRNO_ROW(EMLINK),
    ERRNO_ROW(EPIPE),
    ERRNO_ROW(EDOM),
    ERRNO_ROW(ERANGE),
    ERRNO_ROW(EDEADLK),
    ERRNO_ROW(ENAMETOOLONG),
    ERRNO_ROW(ENOLCK),
    ERRNO_ROW(ENOSYS),
    ERRNO_ROW(ENOTEMPTY),
    ERRNO_ROW(ELOOP),
    ERRNO_ROW(ENOMSG),
    ERRNO_ROW(EIDRM),
    ERRNO_ROW(ECHRNG),
    ERRNO_ROW(EL2NSYNC),
    ERRNO_ROW(EL3HLT),
    ERRNO_ROW(EL3RST),
    ERRNO_ROW(ELNRNG),
    ERRNO_ROW(EUNATCH),
    ERRNO_ROW(ENOCSI),
    ERRNO_ROW(EL2HLT),
    ERRNO_ROW(EBADE),
    ERRNO_ROW(EBADR),
    ERRNO_ROW(EXFULL),
    ERRNO_ROW(ENOANO),
    ERRNO_ROW(EBADRQC),
    ERRNO_ROW(EBADSLT),
    ERRNO_ROW(EBFONT),
    ERRNO_ROW(ENOSTR),
    ERRNO_ROW(ENODATA),
    ERRNO_ROW(ETIME),
    ERRNO_ROW(ENOSR),
    ERRNO_ROW(ENONET),
    ERRNO_ROW(ENOPKG),
    ERRNO_ROW(EREMOTE),
    ERRNO_ROW(ENOLINK),
    ERRNO_ROW(EADV),
    ERRNO_ROW(ESRMNT),
    ERRNO_ROW(ECOMM),
    ERRNO_ROW(EPROTO),
    ERRNO_ROW(EMULTIHOP),
    ERRNO_ROW(EDOTDOT),
    ERRNO_ROW(EBADMSG),
    ERRNO_ROW(EOVERFLOW),
    ERRNO_ROW(ENOTUNIQ),
    ERRNO_ROW(EBADFD),
    ERRNO_ROW(EREMCHG),
    ERRNO_ROW(ELIBACC),
    ERRNO_ROW(ELIBBAD),
    ERRNO_ROW(ELIBSCN),
    ERRNO_ROW(ELIBMAX),
    ERRNO_ROW(ELIBEXEC),
    ERRNO_ROW(EILSEQ),
    ERRNO_ROW(ERESTART),
    ERRNO_ROW(ESTRPIPE),
    ERRNO_ROW(EUSERS),
    ERRNO_ROW(ENOTSOCK),
    ERRNO_ROW(EDESTADDRREQ),
    ERRNO_ROW(EMSGSIZE),
    ERRNO_ROW(EPROTOTYPE),
    ERRNO_ROW(ENOPROTOOPT),
    ERRNO_ROW(EPROTONOSUPPORT),
    ERRNO_ROW(ESOCKTNOSUPPORT),
    ERRNO_ROW(EOPNOTSUPP),
    ERRNO_ROW(EPFNOSUPPORT),
    ERRNO_ROW(EAFNOSUPPORT),
    ERRNO_ROW(EADDRINUSE),
    ERRNO_ROW(EADDRNOTAVAIL),
    ERRNO_ROW(ENETDOWN),
    ERRNO_ROW(ENETUNREACH),
    ERRNO_ROW(ENETRESET),
    ERRNO_ROW(ECONNABORTED),
    ERRNO_ROW(ECONNRESET),
    ERRNO_ROW(ENOBUFS),
    ERRNO_ROW(EISCONN),
    ERRNO_ROW(ENOTCONN),
    ERRNO_ROW(ESHUTDOWN),
    ERRNO_ROW(ETOOMANYREFS),
    ERRNO_ROW(ETIMEDOUT),
    ERRNO_ROW(ECONNREFUSED),
    ERRNO_ROW(EHOSTDOWN),
    ERRNO_ROW(EHOSTUNREACH),
    ERRNO_ROW(EALREADY),
    ERRNO_ROW(EINPROGRESS),
    ERRNO_ROW(ESTALE),
    ERRNO_ROW(EUCLEAN),
    ERRNO_ROW(ENOTNAM),
    ERRNO_ROW(ENAVAIL),
    ERRNO_ROW(EISNAM),
    ERRNO_ROW(EREMOTEIO),
    ERRNO_ROW(EDQUOT),
    ERRNO_ROW(ENOMEDIUM),
    ERRNO_ROW(EMEDIUMTYPE),
    ERRNO_ROW(ECANCELED),
    ERRNO_ROW(ENOKEY),
    ERRNO_ROW(EKEYEXPIRED),
    ERRNO_ROW(EKEYREVOKED),
    ERRNO_ROW(EKEYREJECTED),
    ERRNO_ROW(EOWNERDEAD),
    ERRNO_ROW(ENOTRECOVERABLE),
};

#undef ERRNO_ROW

constexpr bool IsStrictlyAscending()
{
    for (size_t i = 1; i < std::size(cErrnoNames); ++i) {
        if (cErrnoNames[i - 1].Number >= cErrnoNames[i].Number) {
            return false;
        }
    }
    return true;
}

// The lookup below is a binary search.
static_assert(IsStrictlyAscending(), "errno rows must be in ascending order without duplicates");

}  // namespace

const char* ErrnoName(int Number)
{
    const ErrnoRow_T* row = std::lower_bound(std::begin(cErrnoNames), std::end(cErrnoNames), Number,
                                             [](const ErrnoRow_T& Row, int Wanted) { return Row.Number < Wanted; });
    return (row != std::end(cErrnoNames) && row->Number == Number) ? row->Name : nullptr;
}
