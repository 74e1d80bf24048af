// Compiles against the installed headers and links the installed libraries.
#include "Avo/Function.h"
#include "Avo/Logging.h"
#include "KnxStack/GroupValue.h"
#include "VelValue.h"

int main() {
  KnxStack::GroupValue value;
  value.SetAsFloat16(21.5);
  Avo::BoolReader always = [] { return true; };
  return value.GetRawData().ToString() == "0C 33" && always() ? 0 : 1;
}
