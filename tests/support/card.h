/**
 * @file card.h
 * A card in a temporary folder, which the code under test finds in place of the camera's.
 */
#ifndef CARD_H
#define CARD_H

#include <filesystem>
#include <string>

/** An empty card. It is gone, with all that is on it, when the object dies. */
class TemporaryCard
{
  public:
    TemporaryCard();
    ~TemporaryCard();
    TemporaryCard(const TemporaryCard &) = delete;
    TemporaryCard &operator=(const TemporaryCard &) = delete;

    /** Path on the card. */
    std::filesystem::path path(const std::string &below = "") const
    {
        return root / below;
    }
    /** Writes a file, and the folders that it stands in. */
    void write(const std::string &below, const std::string &content) const;
    /** Content of a file; empty when there is none. */
    std::string read(const std::string &below) const;
    /** Gives the card an identity, so that documents begin alike. */
    void identify(const std::string &id = "42") const
    {
        write("MISC/card", id);
    }

  private:
    std::filesystem::path root;
};

#endif
