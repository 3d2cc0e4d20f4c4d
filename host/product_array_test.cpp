#include "product_array.h"

#include <gmock/gmock.h>

namespace prodsweep {
namespace {

Product Named(const char* name, int kind = PRODSWEEP_KIND_OWN)
{
    Product product;
    product.name = name;
    product.kind = kind;
    return product;
}

Product Installed(Product product)
{
    product.installed = true;
    product.versions.resize(1);
    return product;
}

std::vector<bool> Marks(const std::vector<Product>& products)
{
    std::vector<bool> marks;
    marks.reserve(products.size());
    for (const Product& product : products)
        marks.push_back(product.installed && product.versions.size() == 1);
    return marks;
}

TEST(MergeInstalledTest, InstalledProductsAreMarkedInPlace)
{
    std::vector<Product> catalogue{Named("a"), Named("b"), Named("c")};

    MergeInstalled(catalogue, {Installed(Named("a")), Installed(Named("c"))});

    EXPECT_THAT(Marks(catalogue), testing::ElementsAre(true, false, true));
}

TEST(MergeInstalledTest, SameNameOfAnotherKindIsAnotherProduct)
{
    std::vector<Product> catalogue{Named("a"), Named("a", PRODSWEEP_KIND_OTHER)};

    MergeInstalled(catalogue, {Installed(Named("a", PRODSWEEP_KIND_OTHER))});

    EXPECT_THAT(Marks(catalogue), testing::ElementsAre(false, true));
}

TEST(MergeInstalledTest, SameNameWithAnotherDescriptorIsAnotherProduct)
{
    Product second = Named("a");
    second.descriptor = "second.xml";
    std::vector<Product> catalogue{Named("a"), second};

    MergeInstalled(catalogue, {Installed(second)});

    EXPECT_THAT(Marks(catalogue), testing::ElementsAre(false, true));
}

TEST(MergeInstalledTest, TwinsAreMarkedOneByOne)
{
    std::vector<Product> catalogue{Named("a"), Named("a"), Named("a")};

    MergeInstalled(catalogue, {Installed(Named("a")), Installed(Named("a"))});

    EXPECT_THAT(Marks(catalogue), testing::ElementsAre(true, true, false));
}

TEST(MergeInstalledTest, ProductThatLeftTheCatalogueBetweenTheCallsIsDropped)
{
    std::vector<Product> catalogue{Named("a"), Named("b")};

    MergeInstalled(catalogue, {Installed(Named("gone")), Installed(Named("b"))});

    EXPECT_THAT(Marks(catalogue), testing::ElementsAre(false, true));
}

TEST(ReadProductsTest, ArrayOfOtherElementsHasNoProducts)
{
    SAFEARRAY array{};
    int data[4]{};
    array.cbElements = sizeof(int);
    array.pvData = data;
    array.rgsabound[0].cElements = 4;

    EXPECT_TRUE(ReadProducts(array, true).empty());
}

TEST(ReadProductsTest, ArrayWithoutDataHasNoProducts)
{
    SAFEARRAY array{};
    array.cbElements = sizeof(ProductEntry);
    array.rgsabound[0].cElements = 4;

    EXPECT_TRUE(ReadProducts(array, true).empty());
}

} // namespace
} // namespace prodsweep
