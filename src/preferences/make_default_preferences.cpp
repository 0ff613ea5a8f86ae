// Makes the default preference file that the installation carries: one options record with the
// values of a new file. The build runs it; nothing else needs it.
#include "preferences/preference_file.h"
#include "state/error.h"

#include <QFile>
#include <cstdio>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: corvane-default-preferences FILE.cvp\n", stderr);
        return 2;
    }
    try {
        corvane::WritePreferenceFile(QFile::decodeName(argv[1]), corvane::PreferenceRecord{});
    } catch (const corvane::CorvaneError& error) {
        std::fprintf(stderr, "%s\n", error.description().toLocal8Bit().constData());
        return 1;
    }
    return 0;
}
