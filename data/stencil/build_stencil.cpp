// Builds the add-in's stencil for the headless command: a drawing without pages and masters. Its
// name and its place are all that the command needs of it.

#include <exception>
#include <iostream>

#include "platform/embedded/vsdx/drawing_file.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: build_stencil OUTPUT\n";
    return 2;
  }
  try {
    ohmwise::embedded::DrawingFile::Create()->Save(argv[1]);
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "build_stencil: " << error.what() << '\n';
    return 1;
  }
}
