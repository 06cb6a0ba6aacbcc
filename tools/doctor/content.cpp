#include "content.h"

#include <fstream>
#include <sstream>

namespace doctor {

std::string ContentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();  // the buffer's own iterators would throw what the read fails with
    return content.str();
}

}  // namespace doctor
