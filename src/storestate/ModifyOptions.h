/**
 * What `modify` does to a record: the condition on its existence, the options, and the modification as a whole. Needs
 * no virtual machine. Everything belongs to the thread that uses the record.
 */
#ifndef STORESTATE_MODIFYOPTIONS_H
#define STORESTATE_MODIFYOPTIONS_H

#include "storestate/StoreState.h"

#include <functional>
#include <vector>

/** Condition of a call on the record's existence; any other number is no condition. */
enum ExistenceMode : int32_t {
    RECORD_MUST_NOT_EXIST = 0,
    RECORD_MUST_EXIST = 1,
    RECORD_MAY_EXIST = 2,
};

/** One option: its two names and what a value does to the record. */
struct ModifyOption {
    const char* longName;
    const char* shortName;
    const char* meaning; ///< of the value, for people
    bool isFlag;         ///< the value "yes" sets it, any other clears it
    void (*apply)(StoreState& state, const OFString& value);
};

/** All options, in the order of the documentation. */
std::vector<ModifyOption> modifyOptions();

/** The option with exactly this long or short name; null if there is none. */
const ModifyOption* findModifyOption(const OFString& name);

/**
 * Applies one pair to the record, in memory. An unknown name changes nothing. The value is not checked:
 * StoreState::save() refuses values that cannot be stored. Throws only what StoreState::setAutoForwardDevice() throws.
 */
void applyModifyOption(StoreState& state, const OFString& name, const OFString& value);

/** An option's name and its value. */
struct OptionPair {
    OFString name;
    OFString value;
};

enum class NextPair { READ, NONE_LEFT, UNAVAILABLE };

/** Yields the pairs of a call one by one. Called only after the record was loaded. */
using OptionPairs = std::function<NextPair(OptionPair& pair)>;

/** The pairs of a list, which must outlive the result. */
OptionPairs pairsOf(const std::vector<OptionPair>& list);

enum class ModifyResult {
    DONE,
    WRONG_EXISTENCE,   ///< the condition does not hold
    PAIR_UNAVAILABLE,  ///< a pair could not be read; nothing was saved
    NO_TEMPORARY_FILE, ///< StoreState::save() was false
};

/**
 * Loads the record under the condition. False: the condition does not hold. The study's lock may have been taken by
 * then; destroying the record releases it. Throws what StoreState::exists() and StoreState::load() throw.
 */
bool loadForModify(StoreState& state, int32_t existenceMode);

/**
 * Loads the record under the condition and applies the pairs in their order, in memory. Takes the study's lock, unless
 * `state.semaphore` holds it already or `useLock` is cleared, and keeps it. Throws what loadForModify() and
 * applyModifyOption() throw.
 */
ModifyResult applyModification(StoreState& state, int32_t existenceMode, const OptionPairs& pairs);

/** A whole modification: applyModification(), then StoreState::save(), which releases the lock. Throws what they do. */
ModifyResult modifyRecord(StoreState& state, int32_t existenceMode, const OptionPairs& pairs);

#endif
