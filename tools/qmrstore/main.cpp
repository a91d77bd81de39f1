// qmrstore: every operation of a DataStore back-end from the command line.
#include <iostream>

#include "QMRStoreCommandLine.h"

int main(int argc, char** argv) {
    return QMRStoreCommandLine::run(argc, argv, std::cout, std::cerr);
}
