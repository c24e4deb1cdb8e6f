#include "card.h"

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "cardRoot.h"

static std::string current = "/nonexistent/card/";

// In place of the camera's mount point.
const char *cardRoot()
{
    return current.c_str();
}

TemporaryCard::TemporaryCard()
{
    std::string pattern = std::filesystem::temp_directory_path() / "cardXXXXXX";
    root = mkdtemp(pattern.data());
    current = root.string() + "/";
}

TemporaryCard::~TemporaryCard()
{
    std::filesystem::remove_all(root);
    current = "/nonexistent/card/";
}

void TemporaryCard::write(const std::string &below, const std::string &content) const
{
    std::filesystem::create_directories(path(below).parent_path());
    std::ofstream(path(below)) << content;
}

std::string TemporaryCard::read(const std::string &below) const
{
    std::ostringstream text;
    text << std::ifstream(path(below)).rdbuf();
    return text.str();
}
