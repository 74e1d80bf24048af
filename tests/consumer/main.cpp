// A program built against the installed headers and libraries: it converts
// through the library, logs through the platform's logger and times a scope
// with the Boost code that the headers put into the program itself.
#include "Avo/Function.h"
#include "Avo/Logging.h"
#include "Avo/MeasureDuration.h"
#include "AvoObjectModel/KnxValueConverter.h"
#include "KnxStack/GroupValue.h"
#include "VelValue.h"

#include <iostream>

int main() {
  Avo::MeasureDuration timing("consumer: ");
  Avo::KnxValueConverter converter;
  if (!converter.Init()) {
    std::cerr << "Init failed\n";
    return 1;
  }
  KNXDPT dpt(16, 9, 1);
  VELVALUE value(ivtFloat);
  value.dblVal = 21.5;
  KnxStack::GroupValue telegram;
  if (!converter.ToKnxValue(dpt, value, telegram) || telegram.GetRawData().ToString() != "0C 33") {
    std::cerr << "21.5 on 9.001 gave " << telegram.GetRawData().ToString() << '\n';
    return 1;
  }
  Avo::BoolReader always = [] { return true; };
  AVO_LOG_DEBUG("consumer converted " << value.dblVal);
  return always() ? 0 : 1;
}
