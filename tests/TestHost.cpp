#include "TestHost.h"

#include <fstream>
#include <sstream>

std::string readTestData(const std::string& name) {
  std::ifstream in(std::string(MDX_TEST_DATA_DIR) + "/" + name, std::ios::binary);
  EXPECT_TRUE(in.good()) << "missing test data " << name;
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}
