#include "tests/serializers/SerialBlockCases.h"

#include <algorithm>
#include <bit>
#include <set>
#include <sstream>
#include <type_traits>
#include <utility>
#include <variant>

#include "tests/serializers/TrickleStream.h"

#include "pellium/serializers/MemoryInputStream.h"

namespace pellium::test {

namespace {

using std::type_identity_t;

// A tiny object with a static form of its own ("a", or "g" and a tagged int32), standing in for the
// data values and columns that object vectors hold.
using Boxed = std::shared_ptr<std::int32_t>;

bool writeBoxed(SerialWriter& writer, const Boxed& boxed) {
    return writer.writePresence(boxed != nullptr) && (!boxed || writer.writePrimitive(SerialMarks::TAG_C, *boxed));
}

bool readBoxed(SerialReader& reader, Boxed& boxed) {
    bool isPresent = false;
    if (!reader.readPresence(isPresent)) {
        return false;
    }
    boxed = isPresent ? std::make_shared<std::int32_t>() : nullptr;
    return !isPresent || reader.readPrimitive(SerialMarks::TAG_C, *boxed);
}

// Deep, bitwise equality: floating point values compare by their bits so that NaN payloads count.
template <typename T>
bool deepEqual(const T& left, const T& right);
template <typename T>
bool deepEqual(const std::shared_ptr<T>& left, const std::shared_ptr<T>& right);
template <typename T>
bool deepEqual(const std::vector<T>& left, const std::vector<T>& right);

template <typename T>
bool deepEqual(const T& left, const T& right) {
    if constexpr (std::is_floating_point_v<T>) {
        return std::memcmp(&left, &right, sizeof(T)) == 0;
    } else {
        return left == right;
    }
}

template <typename T>
bool deepEqual(const std::shared_ptr<T>& left, const std::shared_ptr<T>& right) {
    if (!left || !right) {
        return !left && !right;
    }
    return deepEqual(*left, *right);
}

template <typename T>
bool deepEqual(const std::vector<T>& left, const std::vector<T>& right) {
    return std::ranges::equal(left, right, [](const T& a, const T& b) { return deepEqual(a, b); });
}

template <typename T>
SerialBlockCase makeCase(std::string name, ExpectedBytes expected, T value,
                         type_identity_t<std::function<bool(SerialWriter&, const T&)>> write,
                         type_identity_t<std::function<bool(SerialReader&, T&)>> read) {
    return {std::move(name), std::move(expected), [value, write](SerialWriter& writer) { return write(writer, value); },
            [value, read](SerialReader& reader) {
                T actual{};
                const bool ok = read(reader, actual);
                return ReadOutcome{ok, ok && deepEqual(actual, value)};
            }};
}

// One factory per block: the value, and the writer and reader calls that carry it.

SerialBlockCase versionMarkCase(ExpectedBytes expected) {
    return makeCase<std::monostate>(
        "version mark", std::move(expected), {}, [](SerialWriter& writer, auto&) { return writer.writeVersionMark(); },
        [](SerialReader& reader, auto&) { return reader.readVersionMark(); });
}

SerialBlockCase markCase(ExpectedBytes expected, std::uint8_t mark) {
    return makeCase<std::uint8_t>(
        "mark", std::move(expected), mark, [](SerialWriter& writer, auto& value) { return writer.writeMark(value); },
        [](SerialReader& reader, auto& value) { return reader.readMark(value); });
}

SerialBlockCase presenceCase(ExpectedBytes expected, bool isPresent, std::uint8_t presentMark) {
    return makeCase<bool>(
        "presence", std::move(expected), isPresent,
        [presentMark](SerialWriter& writer, auto& value) { return writer.writePresence(value, presentMark); },
        [presentMark](SerialReader& reader, auto& value) { return reader.readPresence(value, presentMark); });
}

template <SerialPrimitive T>
SerialBlockCase primitiveCase(ExpectedBytes expected, std::uint8_t tag, T value) {
    return makeCase<T>(
        "primitive", std::move(expected), value,
        [tag](SerialWriter& writer, auto& primitive) { return writer.writePrimitive(tag, primitive); },
        [tag](SerialReader& reader, auto& primitive) { return reader.readPrimitive(tag, primitive); });
}

SerialBlockCase countCase(ExpectedBytes expected, std::size_t count) {
    return makeCase<std::size_t>(
        "count", std::move(expected), count, [](SerialWriter& writer, auto& value) { return writer.writeCount(value); },
        [](SerialReader& reader, auto& value) { return reader.readCount(0, value); });
}

SerialBlockCase stringCase(ExpectedBytes expected, SharedString text) {
    return makeCase<SharedString>(
        "string", std::move(expected), std::move(text),
        [](SerialWriter& writer, auto& value) { return writer.writeString(value); },
        [](SerialReader& reader, auto& value) { return reader.readString(value); });
}

template <SerialVectorElement T>
SerialBlockCase primitiveVectorBodyCase(ExpectedBytes expected, std::vector<T> elements) {
    return makeCase<std::vector<T>>(
        "primitive vector body", std::move(expected), std::move(elements),
        [](SerialWriter& writer, auto& value) { return writer.writePrimitiveVectorBody(value); },
        [](SerialReader& reader, auto& value) { return reader.readPrimitiveVectorBody(value); });
}

template <SerialVectorElement T>
SerialBlockCase sharedPrimitiveVectorCase(ExpectedBytes expected, std::shared_ptr<std::vector<T>> elements) {
    return makeCase<std::shared_ptr<std::vector<T>>>(
        "shared primitive vector", std::move(expected), std::move(elements),
        [](SerialWriter& writer, auto& value) { return writer.writeSharedPrimitiveVector(value); },
        [](SerialReader& reader, auto& value) { return reader.readSharedPrimitiveVector(value); });
}

SerialBlockCase stringVectorBodyCase(ExpectedBytes expected, SharedStringVector texts) {
    return makeCase<SharedStringVector>(
        "string vector body", std::move(expected), std::move(texts),
        [](SerialWriter& writer, auto& value) { return writer.writeStringVectorBody(value); },
        [](SerialReader& reader, auto& value) { return reader.readStringVectorBody(value); });
}

SerialBlockCase sharedStringVectorCase(ExpectedBytes expected, std::shared_ptr<SharedStringVector> texts) {
    return makeCase<std::shared_ptr<SharedStringVector>>(
        "shared string vector", std::move(expected), std::move(texts),
        [](SerialWriter& writer, auto& value) { return writer.writeSharedStringVector(value); },
        [](SerialReader& reader, auto& value) { return reader.readSharedStringVector(value); });
}

SerialBlockCase objectVectorBodyCase(ExpectedBytes expected, std::vector<Boxed> objects) {
    return makeCase<std::vector<Boxed>>(
        "object vector body", std::move(expected), std::move(objects),
        [](SerialWriter& writer, auto& value) {
            return writer.writeObjectVectorBody(value.size(),
                                                [&](std::size_t index) { return writeBoxed(writer, value[index]); });
        },
        [](SerialReader& reader, auto& value) {
            return reader.readObjectVectorBody([&](std::size_t) { return readBoxed(reader, value.emplace_back()); });
        });
}

SerialBlockCase sharedObjectVectorCase(ExpectedBytes expected, std::shared_ptr<std::vector<Boxed>> objects) {
    return makeCase<std::shared_ptr<std::vector<Boxed>>>(
        "shared object vector", std::move(expected), std::move(objects),
        [](SerialWriter& writer, auto& value) {
            return writer.writeSharedObjectVector(value, [&](const Boxed& boxed) { return writeBoxed(writer, boxed); });
        },
        [](SerialReader& reader, auto& value) {
            return reader.readSharedObjectVector(value, [&](Boxed& boxed) { return readBoxed(reader, boxed); });
        });
}

SerialBlockCase sharedBoolVectorCase(ExpectedBytes expected, std::shared_ptr<std::vector<bool>> flags) {
    return makeCase<std::shared_ptr<std::vector<bool>>>(
        "shared bool vector", std::move(expected), std::move(flags),
        [](SerialWriter& writer, auto& value) { return writer.writeSharedBoolVector(value); },
        [](SerialReader& reader, auto& value) { return reader.readSharedBoolVector(value); });
}

template <typename Set>
SerialBlockCase sharedSetCase(ExpectedBytes expected, std::shared_ptr<Set> elements) {
    return makeCase<std::shared_ptr<Set>>(
        "shared set", std::move(expected), std::move(elements),
        [](SerialWriter& writer, auto& value) { return writer.writeSharedSet(value); },
        [](SerialReader& reader, auto& value) { return reader.readSharedSet(value); });
}

SharedString text(std::string value) {
    return std::make_shared<const std::string>(std::move(value));
}

Boxed box(std::int32_t value) {
    return std::make_shared<std::int32_t>(value);
}

template <typename T>
std::shared_ptr<T> shared(T value) {
    return std::make_shared<T>(std::move(value));
}

template <typename T>
T randomBits(std::mt19937& random) {
    using Bits = std::conditional_t<sizeof(T) == 8, std::uint64_t, std::uint32_t>;
    const auto bits = static_cast<Bits>((static_cast<std::uint64_t>(random()) << 32U) | random());
    return std::bit_cast<T>(bits);
}

std::size_t randomSize(std::mt19937& random, std::size_t maximum) {
    return std::uniform_int_distribution<std::size_t>(0, maximum)(random);
}

bool oneIn(std::mt19937& random, int chances) {
    return std::uniform_int_distribution<int>(1, chances)(random) == 1;
}

template <typename T>
std::vector<T> randomVector(std::mt19937& random, std::size_t size) {
    std::vector<T> elements(size);
    std::ranges::generate(elements, [&] { return randomBits<T>(random); });
    return elements;
}

SharedString randomText(std::mt19937& random) {
    if (oneIn(random, 5)) {
        return nullptr;
    }
    std::string bytes(randomSize(random, 40), '\0');
    std::ranges::generate(bytes, [&] { return static_cast<char>(random()); });
    return text(std::move(bytes));
}

SharedStringVector randomTexts(std::mt19937& random) {
    SharedStringVector texts(randomSize(random, 30));
    std::ranges::generate(texts, [&] { return randomText(random); });
    return texts;
}

std::vector<Boxed> randomObjects(std::mt19937& random) {
    std::vector<Boxed> objects(randomSize(random, 30));
    std::ranges::generate(objects, [&] { return oneIn(random, 4) ? nullptr : box(randomBits<std::int32_t>(random)); });
    return objects;
}

std::vector<std::uint32_t> randomAscending(std::mt19937& random, std::size_t size) {
    std::set<std::uint32_t> elements;
    while (elements.size() < size) {
        elements.insert(random());
    }
    return {elements.begin(), elements.end()};
}

}  // namespace

ExpectedBytes expect(std::string_view notation) {
    ExpectedBytes expected;
    const auto add = [&](char byte, ByteRole role) {
        expected.bytes.push_back(byte);
        expected.roles.push_back(role);
    };
    const auto hexByte = [](std::string_view digits) {
        return static_cast<char>(std::stoul(std::string(digits), nullptr, 16));
    };
    std::istringstream tokens{std::string(notation)};
    for (std::string token; tokens >> token;) {
        if (token.size() == 1) {
            add(token[0], ByteRole::Marker);
        } else if (token[0] == '?') {
            add(token[1], ByteRole::Presence);
        } else if (token[0] == '!') {
            add(hexByte(token.substr(1)), ByteRole::Marker);
        } else if (token[0] == 'i') {
            const auto bits = static_cast<std::uint32_t>(std::stol(token.substr(1)));
            for (unsigned shift = 0; shift < 32; shift += 8) {
                add(static_cast<char>((bits >> shift) & 0xFFU), ByteRole::Data);
            }
        } else if (token[0] == '\'') {
            for (const char byte : token.substr(1, token.size() - 2)) {
                add(byte, ByteRole::Data);
            }
        } else {
            add(hexByte(token), ByteRole::Data);
        }
    }
    return expected;
}

std::vector<SerialBlockCase> handWrittenCases() {
    using Doubles = std::vector<double>;
    using Unsigned = std::vector<std::uint32_t>;
    using UnsignedSet = std::set<std::uint32_t>;
    return {
        versionMarkCase(expect("V !01")),
        markCase(expect("C0"), 0xC0),
        presenceCase(expect("?g"), true, SerialMarks::OBJECT),
        presenceCase(expect("?a"), false, SerialMarks::OBJECT),
        presenceCase(expect("?f"), true, SerialMarks::VECTOR),
        primitiveCase(expect("c 01"), SerialMarks::TAG_C, true),
        primitiveCase(expect("c 00"), SerialMarks::TAG_C, false),
        primitiveCase(expect("b FE FF FF FF"), SerialMarks::TAG_B, std::int32_t{-2}),
        primitiveCase(expect("c EF BE AD DE"), SerialMarks::TAG_C, std::uint32_t{0xDEADBEEF}),
        primitiveCase(expect("b 00 00 C0 3F"), SerialMarks::TAG_B, 1.5F),
        primitiveCase(expect("b 00 00 00 00 00 00 04 C0"), SerialMarks::TAG_B, -2.5),
        countCase(expect("U i3"), 3),
        stringCase(expect("?a"), nullptr),
        stringCase(expect("?d U i2 'ab'"), text("ab")),
        stringCase(expect("?d U i0"), text("")),
        stringCase(expect("?d U i3 00 FF 'z'"), text(std::string("\0\xFFz", 3))),
        primitiveVectorBodyCase(expect("c U i2 S i1 i-1 T"), std::vector<std::int32_t>{1, -1}),
        primitiveVectorBodyCase(expect("c U i0 S T"), Doubles{}),
        sharedPrimitiveVectorCase(expect("V !01 ?f c U i0 S T"), shared(Doubles{})),
        sharedPrimitiveVectorCase(expect("V !01 ?a"), std::shared_ptr<Doubles>()),
        sharedPrimitiveVectorCase(expect("V !01 ?f c U i1 S 00 00 C0 3F T"), shared(std::vector<float>{1.5F})),
        sharedPrimitiveVectorCase(expect("V !01 ?f c U i1 S i7 T"), shared(Unsigned{7})),
        stringVectorBodyCase(expect("U i2 S ?d U i1 'x' ?a T"), SharedStringVector{text("x"), nullptr}),
        sharedStringVectorCase(expect("V !01 ?a"), nullptr),
        sharedStringVectorCase(expect("V !01 ?f U i0 S T"), shared(SharedStringVector{})),
        objectVectorBodyCase(expect("g U i2 S ?g c i5 ?a T"), std::vector<Boxed>{box(5), nullptr}),
        sharedObjectVectorCase(expect("V !01 ?a"), nullptr),
        sharedObjectVectorCase(expect("V !01 ?f g U i1 S ?g c i-9 T"), shared(std::vector<Boxed>{box(-9)})),
        sharedBoolVectorCase(expect("?a"), nullptr),
        sharedBoolVectorCase(expect("?f c U i3 S 01 00 01 T"), shared(std::vector<bool>{true, false, true})),
        sharedSetCase(expect("V !01 ?e c U i2 S i1 i256 T"), shared(UnsignedSet{256, 1})),
        sharedSetCase(expect("V !01 ?e c U i2 S i0 i-1 T"), shared(Unsigned{0, 0xFFFFFFFF})),
        sharedSetCase(expect("V !01 ?e c U i0 S T"), shared(UnsignedSet{})),
        sharedSetCase(expect("V !01 ?a"), std::shared_ptr<Unsigned>()),
    };
}

std::vector<SerialBlockCase> randomCases(std::mt19937& random) {
    // Some vectors are far larger than a read chunk, so that chunked reading meets its boundaries.
    const std::size_t largeSize = oneIn(random, 2) ? 100'000 : randomSize(random, 100);
    const bool isNull = oneIn(random, 8);
    return {
        markCase({}, static_cast<std::uint8_t>(random())),
        presenceCase({}, oneIn(random, 2), SerialMarks::VECTOR),
        primitiveCase({}, SerialMarks::TAG_C, oneIn(random, 2)),
        primitiveCase({}, SerialMarks::TAG_B, randomBits<std::int32_t>(random)),
        primitiveCase({}, SerialMarks::TAG_C, randomBits<std::uint32_t>(random)),
        primitiveCase({}, SerialMarks::TAG_B, randomBits<float>(random)),
        primitiveCase({}, SerialMarks::TAG_C, randomBits<double>(random)),
        countCase({}, randomBits<std::uint32_t>(random) >> 1U),
        stringCase({}, randomText(random)),
        stringCase({}, text(std::string(largeSize, 'q'))),
        primitiveVectorBodyCase({}, randomVector<float>(random, randomSize(random, 100))),
        sharedPrimitiveVectorCase({}, isNull ? nullptr : shared(randomVector<double>(random, largeSize))),
        sharedPrimitiveVectorCase({}, shared(randomVector<std::int32_t>(random, randomSize(random, 100)))),
        sharedPrimitiveVectorCase({}, shared(randomVector<std::uint32_t>(random, randomSize(random, 100)))),
        stringVectorBodyCase({}, randomTexts(random)),
        sharedStringVectorCase({}, isNull ? nullptr : shared(randomTexts(random))),
        objectVectorBodyCase({}, randomObjects(random)),
        sharedObjectVectorCase({}, isNull ? nullptr : shared(randomObjects(random))),
        sharedBoolVectorCase({}, isNull ? nullptr : [&] {
            auto flags = shared(std::vector<bool>(randomSize(random, 10'000)));
            std::generate(flags->begin(), flags->end(), [&] { return oneIn(random, 2); });
            return flags;
        }()),
        sharedSetCase({}, shared(randomAscending(random, randomSize(random, 2'000)))),
        sharedSetCase({}, isNull ? nullptr : [&] {
            const auto ascending = randomAscending(random, randomSize(random, 200));
            return shared(std::set<std::uint32_t>(ascending.begin(), ascending.end()));
        }()),
    };
}

std::string writeToString(const SerialBlockCase& blockCase) {
    std::ostringstream stream;
    SerialWriter writer(stream);
    if (!blockCase.write(writer)) {
        return "<write failed>";
    }
    return stream.str();
}

TestInput::TestInput(StreamKind kind, std::string bytes) : bytes_(std::make_unique<std::string>(std::move(bytes))) {
    if (kind == StreamKind::Trickle) {
        stream_ = std::make_unique<TrickleStream>(*bytes_);
    } else if (kind == StreamKind::Memory) {
        stream_ = std::make_unique<MemoryInputStream>(*bytes_);
    } else {
        stream_ = std::make_unique<std::istringstream>(*bytes_);
    }
}

bool TestInput::isExhausted() {
    return std::char_traits<char>::eq_int_type(stream_->rdbuf()->sgetc(), std::char_traits<char>::eof());
}

std::string streamKindName(StreamKind kind) {
    static constexpr const char* NAMES[] = {"StringStream", "Memory", "Trickle"};
    return NAMES[static_cast<int>(kind)];
}

std::string hex(const std::string& bytes) {
    static constexpr char DIGITS[] = "0123456789ABCDEF";
    std::string text;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text += {DIGITS[value >> 4U], DIGITS[value & 0xFU], ' '};
    }
    return text;
}

}  // namespace pellium::test
