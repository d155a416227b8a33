// The cast to the maker's interface over both layouts of type information: real classes in the layout of this compiler, and images
// made by hand in both.
#include <cstdint>
#include <cstring>
#include <string>
#include <typeinfo>
#include <vector>

#include <gtest/gtest.h>

#include "TypeLayout.h"

namespace typelayout {

using Veyra::Orbis::Plugins::TypeLayout::FindBase;
using Veyra::Orbis::Plugins::TypeLayout::TypeName;

// The interface that a library returns, and one that the object may implement too. They hold data, so that no offset is 0 by
// chance.
struct Handed {
    virtual ~Handed() = default;
    int handed = 1;
};
struct Wanted {
    virtual ~Wanted() = default;
    int wanted = 2;
};
struct Other {
    virtual ~Other() = default;
    int other = 3;
};
struct Plain : Handed {};
struct Both : Handed, Wanted {};
struct WantedFirst : Wanted, Other, Handed {};
struct Derived : Other, Both {};
struct Virtually : Handed, virtual Wanted {};
struct VirtuallyBoth : virtual Other, virtual Wanted, virtual Handed {};
struct Privately : Handed, private Wanted {};
struct Left : Wanted {};
struct Right : Wanted {};
struct Twice : Handed, Left, Right {};
struct Diamond : Handed, virtual Wanted {};
struct Shared : Diamond, virtual Wanted {};

std::uintptr_t AddressOf(const void* object) { return reinterpret_cast<std::uintptr_t>(object); }

TEST(TypeLayout, AnswersAsTheCompilersOwnCast)
{
#if defined(_MSC_VER)
    const TypeName name{"", typeid(Wanted).raw_name()};
#else
    const TypeName name{typeid(Wanted).name(), ""};
#endif
    const auto expectSame = [&](const Handed& object) {
        EXPECT_EQ(FindBase(AddressOf(&object), name), AddressOf(dynamic_cast<const Wanted*>(&object))) << typeid(object).name();
        return dynamic_cast<const Wanted*>(&object) != nullptr;
    };
    EXPECT_EQ(expectSame(Both()) + expectSame(WantedFirst()) + expectSame(Derived()) + expectSame(Virtually()) +
                  expectSame(VirtuallyBoth()) + expectSame(Shared()),
              6);
    EXPECT_EQ(expectSame(Plain()) + expectSame(Privately()) + expectSame(Twice()), 0);
}

// An object with its table and type information in one block of 8-byte words, which may be spoilt one by one.
struct Image {
    std::vector<std::uint64_t> words;
    std::size_t object = 0;    // the handed subobject
    std::uint64_t wanted = 0;  // its distance to the wanted one
    TypeName name;

    std::uint64_t At(std::size_t word) const { return AddressOf(words.data() + word); }
    std::uint64_t Find() const { return FindBase(At(object), name); }
    void Write(std::size_t word, const std::string& text) { std::memcpy(words.data() + word, text.c_str(), text.size() + 1); }
    void Numbers(std::size_t word, const std::vector<std::uint32_t>& numbers)
    {
        std::memcpy(words.data() + word, numbers.data(), numbers.size() * sizeof(std::uint32_t));
    }
};

// Classes Class : Handed, Wanted as the Microsoft compiler lays them out: distances from the beginning of the image.
Image MicrosoftImage(std::uint32_t attributes = 0)
{
    Image image{std::vector<std::uint64_t>(80), 70, 8, {"6Wanted", ".?AUWanted@@"}};
    const auto distance = [](std::uint32_t word) { return word * 8; };
    image.Write(2, ".?AUClass@@");  // _TypeDescriptor at 0, 10, 20: two words, then the name
    image.Write(12, ".?AUHanded@@");
    image.Write(22, ".?AUWanted@@");
    image.Numbers(30, {0, 2, 0, 0xFFFFFFFF, 0, 0});  // base class descriptors
    image.Numbers(34, {distance(10), 0, 0, 0xFFFFFFFF, 0, 0});
    image.Numbers(38, {distance(20), 0, 8, 0xFFFFFFFF, 0, attributes});
    image.Numbers(44, {distance(30), distance(34), distance(38)});          // their array
    image.Numbers(48, {0, 1, 3, distance(44)});                             // class hierarchy descriptor
    image.Numbers(52, {1, 0, 0, distance(0), distance(48), distance(52)});  // complete object locator
    image.Numbers(55, {1, 8, 0, distance(0), distance(48), distance(55)});  // and the wanted subobject's
    image.words[59] = image.At(52);                                         // each stands before its table
    image.words[62] = image.At(55);
    image.words[70] = image.At(60);
    image.words[71] = image.At(63);
    return image;
}

// The same in the Itanium C++ ABI.
Image ItaniumImage(std::uint64_t flags = 2)
{
    Image image{std::vector<std::uint64_t>(80), 70, 8, {"6Wanted", ".?AUWanted@@"}};
    image.Write(0, "N10__cxxabiv121__vmi_class_type_infoE");
    image.Write(6, "5Class");
    image.Write(8, "6Wanted");
    image.words[11] = image.At(0);   // the name of the class of the type information
    image.words[13] = image.At(10);  // which stands before its table, at 14
    image.words[20] = image.At(14);  // type information of Class: table, name, flags and count, bases
    image.words[21] = image.At(6);
    image.Numbers(22, {0, 2});
    image.words[23] = image.At(40);
    image.words[24] = 2;
    image.words[25] = image.At(30);
    image.words[26] = 8 << 8 | flags;
    image.words[30] = image.At(14);  // of Wanted
    image.words[31] = image.At(8);
    image.words[40] = image.At(14);  // of Handed
    image.words[41] = image.At(6);
    image.words[58] = 0;  // before each table: offset to the complete object, type information
    image.words[59] = image.words[62] = image.At(20);
    image.words[61] = 0 - std::uint64_t{8};
    image.words[70] = image.At(60);
    image.words[71] = image.At(63);
    return image;
}

TEST(TypeLayout, ReadsTypesOfAnotherCompiler)
{
    constexpr std::uint32_t kPrivate = 0x0C;
    for (const Image& image : {MicrosoftImage(), ItaniumImage()}) {
        EXPECT_EQ(image.Find(), image.At(image.object) + image.wanted);
    }
    EXPECT_EQ(MicrosoftImage(kPrivate).Find(), 0U);
    EXPECT_EQ(ItaniumImage(0).Find(), 0U) << "private";

    Image virtualBase = MicrosoftImage();
    virtualBase.Numbers(38, {20 * 8, 0, 0, 8, 4, 0});  // the object's second word leads to the table of virtual bases
    virtualBase.Numbers(55, {1, 40, 0, 0, 48 * 8, 55 * 8});
    virtualBase.Numbers(77, {0, 32});
    virtualBase.words[71] = virtualBase.At(77);
    virtualBase.words[75] = virtualBase.At(63);
    EXPECT_EQ(virtualBase.Find(), virtualBase.At(75));

    Image inside = MicrosoftImage();  // the handed subobject is not the first
    inside.Numbers(52, {1, 16, 0, 0, 48 * 8, 52 * 8});
    inside.words[69] = inside.At(63);
    EXPECT_EQ(inside.Find(), inside.At(69));

    Image round = ItaniumImage();  // a class that is its own base
    round.words[23] = round.words[25] = round.At(20);
    EXPECT_EQ(round.Find(), 0U);
}

// With any value in any one word, no unmapped memory is read and no base outside the object is found.
TEST(TypeLayout, NoWordLeadsAstray)
{
    EXPECT_EQ(FindBase(0, {"6Wanted", ".?AUWanted@@"}), 0U);
    for (const Image& good : {MicrosoftImage(), ItaniumImage()}) {
        for (std::size_t half = 0; half < 2 * good.words.size(); ++half) {
            if (good.words[half / 2] == 0) {
                continue;
            }
            for (const std::uint32_t value : {0U, 7U, 0x80000000U}) {
                Image bad = good;
                // The copy has another address: adjust the addresses in it.
                for (std::uint64_t& word : bad.words) {
                    if (word - good.At(0) < good.words.size() * 8) {
                        word += bad.At(0) - good.At(0);
                    }
                }
                std::memcpy(reinterpret_cast<char*>(bad.words.data()) + half * 4, &value, sizeof value);
                const std::uint64_t found = bad.Find();
                EXPECT_TRUE(found == 0 || found == bad.At(70) || found == bad.At(71)) << half;
            }
        }
    }
}

}  // namespace typelayout
