// Writes the legacy transducer files of a simulated unit: two depth
// transducers, a speed transducer and a test transducer.
//
//   MakeTransducerFiles <directory> <depth prefix> <speed prefix>
#include <cstdio>

#include "tools/TransducerFiles.h"

int main(int argc, char** argv)
{
    if (argc != 4) {
        std::fprintf(stderr, "usage: %s <directory> <depth prefix> <speed prefix>\n", argv[0]);
        return 2;
    }
    if (!TransducerFiles::WriteStandardDirectory(argv[1], argv[2], argv[3])) {
        std::fprintf(stderr, "%s: cannot write the transducer files in %s\n", argv[0], argv[1]);
        return 1;
    }
    return 0;
}
