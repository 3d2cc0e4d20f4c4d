#include "catalogue/products.h"

#include "environment/log.h"
#include "support/callback_recorder.h"
#include "support/com_scope.h"
#include "support/dom.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/temp_tree.h"

#include <gtest/gtest.h>

namespace prodsweep {
namespace {

using test::CallbackRecorder;
using test::CatalogueEvent;
using Calls = std::vector<CallbackRecorder::Call>;

constexpr const char* function = "CProducts::Load";

class ProductsLoadTest : public testing::Test
{
protected:
    bool Load(const std::string& content, int kind = ProductKindOwn)
    {
        path = tree.AddFile(L"catalogue.xml", FILE_ATTRIBUTE_NORMAL, content);
        return products.Load(path.c_str(), kind, &CallbackRecorder::Record);
    }

    std::wstring Names() const
    {
        std::wstring names;
        for (const CProduct& product : products.products)
            names += product.name + L";";
        return names;
    }

    const test::ComScope com;
    test::TempTree tree;
    const test::LogRecorder log;
    const CallbackRecorder callback;
    std::wstring path;
    CProducts products;
};

TEST_F(ProductsLoadTest, ProductsAreListedInDocumentOrder)
{
    EXPECT_TRUE(Load("<uninstall_information><product name='B' file='b.xml'/><product name='A' file='a.xml'/>"
                     "<product name='C' file='c.xml'/></uninstall_information>"));

    EXPECT_EQ(L"B;A;C;", Names());
    EXPECT_EQ(Calls{CatalogueEvent(0)}, callback.Calls());
    EXPECT_TRUE(log.Has(LogTrace, function, L"->file : \"" + path + L"\""));
    EXPECT_TRUE(log.Has(LogTrace, function, L"<-success \"" + path + L"\""));
    EXPECT_TRUE(log.HasNoneAt(LogError));
}

TEST_F(ProductsLoadTest, EmptyCatalogueIsASuccessWithoutProducts)
{
    EXPECT_TRUE(Load("<uninstall_information/>"));

    EXPECT_TRUE(products.products.empty());
    EXPECT_TRUE(products.exec_all);
    EXPECT_EQ(Calls{CatalogueEvent(0)}, callback.Calls());
}

} // namespace
} // namespace prodsweep
