/**
 * @file card.h
 * A card in a temporary folder, which the code under test finds in place of the camera's.
 */
#ifndef CARD_H
#define CARD_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

/** An empty card. It is gone, with all that is on it, when the object dies. */
class TemporaryCard
{
  public:
    TemporaryCard()
    {
        current = root.string() + "/";
    }
    ~TemporaryCard()
    {
        std::filesystem::remove_all(root);
    }
    TemporaryCard(const TemporaryCard &) = delete;
    TemporaryCard &operator=(const TemporaryCard &) = delete;

    /** Path on the card. */
    std::filesystem::path path(const std::string &below = "") const
    {
        return root / below;
    }
    /** Writes a file, and the folders that it stands in. */
    void write(const std::string &below, const std::string &content) const
    {
        std::filesystem::create_directories(path(below).parent_path());
        std::ofstream(path(below)) << content;
    }
    /** Content of a file; empty when there is none. */
    std::string read(const std::string &below) const
    {
        std::ostringstream text;
        text << std::ifstream(path(below)).rdbuf();
        return text.str();
    }
    /** Gives the card an identity, so that documents begin alike. */
    void identify(const std::string &id = "42") const
    {
        write("MISC/card", id);
    }

    inline static std::string current = "/nonexistent/card/"; ///< path of the latest card, with a slash at its end

  private:
    std::filesystem::path root = mkdtemp((std::filesystem::temp_directory_path() / "cardXXXXXX").string().data());
};

#endif
