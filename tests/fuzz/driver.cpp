// Runs a fuzz target without a fuzzing engine: over the files and folders named, or over random
// inputs grown from them.
//
//   xxx_fuzzer [--runs N] [--seed N] [FILE|FOLDER...]

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

using Input = std::vector<uint8_t>;

constexpr size_t kLongestInput = 4096;

Input readInput(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return Input(std::istreambuf_iterator<char>(file), {});
}

std::vector<Input> readCorpus(const std::vector<std::string>& places) {
    std::vector<Input> inputs;
    for (const std::string& place : places) {
        if (!std::filesystem::is_directory(place)) {
            inputs.push_back(readInput(place));
            continue;
        }
        for (const auto& entry : std::filesystem::directory_iterator(place)) {
            inputs.push_back(readInput(entry.path()));
        }
    }
    return inputs;
}

/** One change such as a fuzzing engine would make. */
void mutate(Input* input, const std::vector<Input>& corpus, std::mt19937_64* random) {
    const auto below = [random](size_t limit) { return limit == 0 ? 0 : (*random)() % limit; };
    switch (below(5)) {
        case 0:  // change a byte
            if (!input->empty()) (*input)[below(input->size())] = static_cast<uint8_t>(below(256));
            break;
        case 1:  // insert a byte
            input->insert(input->begin() + static_cast<std::ptrdiff_t>(below(input->size() + 1)),
                          static_cast<uint8_t>(below(256)));
            break;
        case 2:  // cut the end
            input->resize(below(input->size() + 1));
            break;
        case 3: {  // append a piece of another input
            if (corpus.empty()) break;
            const Input& other = corpus[below(corpus.size())];
            const auto from = static_cast<std::ptrdiff_t>(below(other.size() + 1));
            input->insert(input->end(), other.begin() + from, other.end());
            break;
        }
        default:  // a number's border
            if (input->size() >= 4) {
                const uint32_t borders[] = {0, 1, 0x7fffffff, 0x80000000, 0xffffffff};
                memcpy(input->data() + below(input->size() - 3), &borders[below(5)], 4);
            }
    }
    if (input->size() > kLongestInput) input->resize(kLongestInput);
}

void runRandom(const std::vector<Input>& corpus, long runs, uint64_t seed) {
    std::mt19937_64 random(seed);
    for (long i = 0; i < runs; ++i) {
        Input input = corpus.empty() ? Input() : corpus[random() % corpus.size()];
        const size_t changes = 1 + random() % 8;
        for (size_t change = 0; change < changes; ++change) mutate(&input, corpus, &random);
        LLVMFuzzerTestOneInput(input.data(), input.size());
    }
}

}  // namespace

int main(int argc, char** argv) {
    long runs = 0;
    uint64_t seed = 1;
    std::vector<std::string> places;
    for (int i = 1; i < argc; ++i) {
        const bool hasValue = i + 1 < argc;
        if (strcmp(argv[i], "--runs") == 0 && hasValue) {
            runs = atol(argv[++i]);
        } else if (strcmp(argv[i], "--seed") == 0 && hasValue) {
            seed = strtoull(argv[++i], nullptr, 10);
        } else if (std::filesystem::exists(argv[i])) {
            places.emplace_back(argv[i]);
        } else {
            fprintf(stderr, "%s: no such file: %s\n", argv[0], argv[i]);
            return 2;
        }
    }
    const std::vector<Input> corpus = readCorpus(places);
    for (const Input& input : corpus) LLVMFuzzerTestOneInput(input.data(), input.size());
    runRandom(corpus, runs, seed);
    printf("%zu files and %ld random inputs survived\n", corpus.size(), runs);
    return 0;
}
