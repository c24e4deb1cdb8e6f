// The identity of the card.
#include <gtest/gtest.h>

#include <climits>
#include <csignal>
#include <sys/resource.h>

#include "card.h"
#include "cardIdentity.h"
#include "effects.h"

namespace
{

int zerosInFront = 0;
int firstNumber = 0;

/** While it lives, files can't grow, as on a full card. */
class FullCard
{
  public:
    FullCard()
    {
        signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &saved);
        const rlimit none = {0, saved.rlim_max};
        setrlimit(RLIMIT_FSIZE, &none);
    }
    ~FullCard()
    {
        setrlimit(RLIMIT_FSIZE, &saved);
    }

  private:
    rlimit saved = {};
};

/** What the call says on standard error, `root` shown as "@". */
std::string complaintsOf(char *cardId, int *pResult, const std::string &root)
{
    std::string text = printedBy([&] {
        FILE *pSaved = stderr;
        stderr = stdout;
        *pResult = getCardIDStr(cardId);
        stderr = pSaved;
    });
    const size_t place = text.find(root);
    return place == std::string::npos ? text : text.replace(place, root.size(), "@");
}

} // namespace

// In place of the system's random numbers: zeros, then one number.
int rand() noexcept
{
    return zerosInFront-- > 0 ? 0 : firstNumber;
}

TEST(CardIdentity, FailureOrNumberDiffers)
{
    using Prepare = void (*)(const TemporaryCard &);
    const Prepare nothing = [](const TemporaryCard &) {};
    const struct {
        const char *name;
        Prepare prepare;
        int zeros;
        int number;
        int result;
        std::string identity;
        std::string file;
        std::string complaint;
    } cases[] = {
        {"new card", nothing, 0, 3, 0, "8", "8", ""},
        {"largest number", nothing, 9, INT_MAX, 0, "4611686014132420608", "4611686014132420608", ""},
        {"the number 1", nothing, 0, 1, 0, "0", "0", ""},
        {"empty file", [](auto &card) { card.write("MISC/card", ""); }, 0, 3, 0, "8", "8", ""},
        {"lines", [](auto &card) { card.write("MISC/card", "12\n34"); }, 0, 3, 0, "12\n", "12\n34", ""},
        {"long file", [](auto &card) { card.identify(std::string(40, '7')); }, 0, 3, 0, std::string(31, '7'),
         std::string(40, '7'), ""},
        {"no card", [](auto &card) { remove_all(card.path()); }, 0, 3, -1, "0", "",
         "Failed to create folder:@/MISC/\n"},
        {"folder for file", [](auto &card) { create_directories(card.path("MISC/card")); }, 0, 3, -1, "0", "",
         "Failed to create file  @/MISC/card\n"},
        {"ten zeros", nothing, 10, 3, -1, "0", "", "Failed to get random number\n"},
    };
    for (const auto &row : cases) {
        const TemporaryCard card;
        row.prepare(card);
        zerosInFront = row.zeros;
        firstNumber = row.number;
        char identity[CARD_ID_BYTES] = "";
        int result = 1;
        const int descriptor = nextDescriptor();
        EXPECT_EQ(complaintsOf(identity, &result, card.path().parent_path()), row.complaint) << row.name;
        EXPECT_EQ(result, row.result) << row.name;
        EXPECT_EQ(identity, row.identity) << row.name;
        EXPECT_EQ(card.read("MISC/card"), row.file) << row.name;
        EXPECT_EQ(nextDescriptor(), descriptor) << row.name;
        if (row.result == 0) {
            firstNumber = 1000;
            char again[CARD_ID_BYTES] = "";
            EXPECT_EQ(getCardIDStr(again), 0) << row.name;
            EXPECT_STREQ(again, identity) << row.name;
        }
    }
}

TEST(CardIdentity, PlainFileHarmedOrFullCardUnnoticed)
{
    const TemporaryCard card;
    const std::string root = card.path().parent_path();
    char identity[CARD_ID_BYTES] = "";
    int result = 0;
    EXPECT_EQ(complaintsOf(nullptr, &result, root), "Cannot call with null pointer\n");
    EXPECT_EQ(result, -1);
    card.write("MISC", "mine");
    EXPECT_EQ(complaintsOf(identity, &result, root), "Path:@/MISC/ exists and is a NOT folder\n");
    EXPECT_EQ(result, -1);
    EXPECT_EQ(card.read("MISC"), "mine");

    remove(card.path("MISC"));
    zerosInFront = 0;
    firstNumber = 3;
    const FullCard full;
    EXPECT_EQ(complaintsOf(identity, &result, root), "Failed to get write card_id to file\n");
    EXPECT_EQ(result, -1);
    EXPECT_STREQ(identity, "8");
}
