#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

#include "fuzz/fuzz_input.h"

namespace {

constexpr std::size_t LongestInput = 600;
constexpr std::size_t LongestOfAll = 32000;  ///< Of one in many. More than iconv takes at once.

using Bytes = std::vector<std::uint8_t>;

void Run(const Bytes &input) {
    LLVMFuzzerTestOneInput(input.data(), input.size());
}

std::vector<Bytes> StoredInputs(const char *folder) {
    std::vector<Bytes> inputs;
    for (const auto &entry : std::filesystem::directory_iterator(folder)) {
        std::ifstream file(entry.path(), std::ios::binary);
        inputs.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }
    return inputs;
}

/// Part of a stored input with some bytes changed, behind some that are not.
Bytes Mutated(Bytes input, std::minstd_rand &random) {
    const std::size_t longest = random() % 64 == 0 ? LongestOfAll : LongestInput;
    input.resize(std::min(input.size(), random() % longest));
    for (auto changes = random() % 4; changes > 0 && !input.empty(); --changes) {
        input[random() % input.size()] = static_cast<std::uint8_t>(random());
    }
    const std::size_t length = random() % 2 == 0 ? 0 : random() % longest;
    std::generate_n(std::back_inserter(input), length,
                    [&random] { return static_cast<std::uint8_t>(random() >> 8U); });
    return input;
}

}  // namespace

/// replay FOLDER RANDOM-INPUTS: runs every file of the folder, then as many random inputs, the same
/// ones each time.
int main(int count, char **arguments) {
    if (count != 3) {
        return 2;
    }
    const std::vector<Bytes> stored = StoredInputs(arguments[1]);
    for (const Bytes &input : stored) {
        Run(input);
    }
    std::minstd_rand random(1);
    const unsigned long randomInputs = std::stoul(arguments[2]);
    for (unsigned long number = 0; number < randomInputs; ++number) {
        Run(Mutated(stored[random() % stored.size()], random));
    }
    std::printf("%zu stored and %lu random inputs\n", stored.size(), randomInputs);
    return 0;
}
