// avo-knx: looks at KNX data through libavoobjectmodel from the command line.

#include "Arguments.h"
#include "Commands.h"

#include <exception>
#include <iostream>
#include <string>
#include <vector>

int main(int argc, char** argv) {
  std::ios::sync_with_stdio(false);
  const std::vector<std::string> args(argv + 1, argv + argc);
  try {
    return AvoKnx::RunCommandLine(args, std::cin, std::cout, std::cerr);
  } catch (const AvoKnx::UsageError& error) {
    std::cout.flush();
    std::cerr << "avo-knx: " << error.what() << '\n';
    return AvoKnx::kUsage;
  } catch (const std::exception& error) {
    // Whatever the library or the system throws ends here, as one line.
    std::cout.flush();
    std::cerr << "avo-knx: " << error.what() << '\n';
    return AvoKnx::kRefused;
  }
}
