#include <norvik/norvik.h>

#include <iostream>

int main() {
  using namespace norvik::platform;
  Value row = Dictionary{{"priority", 3}, {"title", "Buy milk"}};
  auto json = encodeJSON(row);
  std::cout << json.value_or("") << "\n";
  return json == std::optional<std::string>(R"({"priority":3,"title":"Buy milk"})") ? 0 : 1;
}
