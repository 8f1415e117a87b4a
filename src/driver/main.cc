// sq_xa: until the operations exist, the program checks nothing and shows how
// it is called.
#include "driver/usage.h"

int main() {
  driver::usage();
  return 1;
}
