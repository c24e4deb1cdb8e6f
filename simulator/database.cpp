#include <fstream>
#include <iostream>
#include <iterator>

#include "catalogueJson.h"
#include "database.h"

namespace sim
{

namespace fs = std::filesystem;

namespace
{

fs::path existingCard(const fs::path &card)
{
    if (!fs::is_directory(card)) {
        throw CatalogueError(card.string() + ": there is no card; --make-card lays one out");
    }
    return card;
}

} // namespace

Database::Database(const fs::path &card) : card_(existingCard(card)), uploads_(card), watch_(card)
{
    rebuild();
}

void Database::rebuild()
{
    watch_.arm();
    UploadStore uploads(card_);
    CardFiles files = scanCard(card_);
    const fs::path told = card_ / "catalogue.json";
    std::string text;
    if (fs::exists(told)) {
        std::ifstream in;
        if (fs::is_regular_file(told)) {
            in.open(told);
        }
        if (!in.is_open()) {
            throw CatalogueError("catalogue.json: can't be read");
        }
        text.assign(std::istreambuf_iterator<char>(in), {});
        applyCatalogueJson(text, files, text == acceptedText_);
    }
    std::vector<Item> items = makeItems(files);
    for (Item &item : items) {
        item.whole.uploadStatus = uploads.status(item.path()).value_or(item.whole.uploadStatus);
    }
    uploads_ = std::move(uploads);
    catalogue_ = Catalogue(std::move(items));
    acceptedText_ = std::move(text);
}

bool Database::isOutdated()
{
    outdated_ = watch_.news() || outdated_;
    return outdated_;
}

void Database::refresh()
{
    if (!isOutdated()) {
        return;
    }
    outdated_ = false;
    std::string error;
    try {
        rebuild();
    } catch (const std::exception &reason) {
        error = reason.what();
    }
    if (!error.empty() && error != lastError_) {
        std::cerr << "rtosMediaDBSim: " << error << "; the catalogue stays as it was\n";
    }
    lastError_ = std::move(error);
}

} // namespace sim
