// The messages of the catalogue module "internal-adapters" as flat functions.

#include "kyv/flat.h"

void deleteL10NMessage(char* message) { delete[] message; }

int checkErrorSeverity() { return 1; }

int getErrorSeverity() { return 1; }
