#include <iostream>

int main() {
  std::cout << "norvik\n";
  return 0;
}
