#include "foundation/QXMLDocument.h"
#include "tests/foundation/XMLTreeDump.h"
#include <gtest/gtest.h>
#include <functional>

namespace {

XMLElement *element(const char *name)
{
    return new XMLElement(xmlDuplicate(name));
}

struct TreeOperationCase {
    const char *name;
    std::function<void(XMLElement &parent, XMLElement *nodes[])> operation;
    const char *tree;   // after the operation and one more appendChild of "z"
};

class XMLTreeOperations : public ::testing::TestWithParam<TreeOperationCase> {};

// Starts from p(a,b,c) with spare elements x, y; every case ends by appending z, which shows
// whether the parent still knows where its chain ends.
TEST_P(XMLTreeOperations, KeepChainAndEnd)
{
    XMLElement parent(xmlDuplicate("p"));
    XMLElement *nodes[5] = {element("a"), element("b"), element("c"), element("x"),
                            element("y")};
    for (int i = 0; i < 3; ++i)
        parent.appendChild(nodes[i]);
    GetParam().operation(parent, nodes);
    parent.appendChild(element("z"));
    EXPECT_EQ(dumpTree(&parent), GetParam().tree);
    for (XMLElement *node : nodes) {
        bool attached = false;
        for (const XMLNode *child = parent.firstChild(); child; child = child->nextSibling())
            attached = attached || child == node;
        if (!attached) {
            node->setNextSibling(nullptr);
            delete node;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Operations, XMLTreeOperations,
    ::testing::Values(
        TreeOperationCase{"appendOnly", [](XMLElement &, XMLElement **) {}, "p(a,b,c,z)"},
        TreeOperationCase{"prepend", [](XMLElement &p, XMLElement **n) { p.prependChild(n[3]); },
                          "p(x,a,b,c,z)"},
        TreeOperationCase{"removeLast", [](XMLElement &p, XMLElement **n) { p.removeChild(n[2]); },
                          "p(a,b,z)"},
        TreeOperationCase{"removeFirst",
                          [](XMLElement &p, XMLElement **n) { p.removeChild(n[0]); }, "p(b,c,z)"},
        TreeOperationCase{"removeStranger",
                          [](XMLElement &p, XMLElement **n) { p.removeChild(n[3]); },
                          "p(a,b,c,z)"},
        TreeOperationCase{"replaceLast",
                          [](XMLElement &p, XMLElement **n) { p.replaceChild(n[2], n[3]); },
                          "p(a,b,x,z)"},
        TreeOperationCase{"replaceMiddle",
                          [](XMLElement &p, XMLElement **n) { p.replaceChild(n[1], n[3]); },
                          "p(a,x,c,z)"},
        TreeOperationCase{"insertChainAfterLast",
                          [](XMLElement &p, XMLElement **n) {
                              n[3]->setNextSibling(n[4]);
                              p.insertChildrenAfter(n[2], n[3]);
                          },
                          "p(a,b,c,x,y,z)"},
        TreeOperationCase{"insertChainAfterFirst",
                          [](XMLElement &p, XMLElement **n) {
                              n[3]->setNextSibling(n[4]);
                              p.insertChildrenAfter(n[0], n[3]);
                          },
                          "p(a,x,y,b,c,z)"},
        TreeOperationCase{"insertChainAfterStrangerGoesToEnd",
                          [](XMLElement &p, XMLElement **n) {
                              n[3]->setNextSibling(n[4]);
                              p.insertChildrenAfter(nullptr, n[3]);
                          },
                          "p(a,b,c,x,y,z)"},
        TreeOperationCase{"appendChainKeepsItsTail",
                          [](XMLElement &p, XMLElement **n) {
                              n[3]->setNextSibling(n[4]);
                              p.appendChild(n[3]);
                          },
                          "p(a,b,c,x,y,z)"},
        TreeOperationCase{"cutChainByHand",
                          [](XMLElement &p, XMLElement **n) { n[0]->setNextSibling(nullptr); },
                          "p(a,z)"},
        TreeOperationCase{"replaceChainByHand",
                          [](XMLElement &p, XMLElement **n) { p.setFirstChild(n[3]); },
                          "p(x,z)"},
        TreeOperationCase{"removeThenPrependIntoEmpty",
                          [](XMLElement &p, XMLElement **n) {
                              p.removeChild(n[0]);
                              p.removeChild(n[1]);
                              p.removeChild(n[2]);
                              p.prependChild(n[4]);
                          },
                          "p(y,z)"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(XMLInsertChildren, IntoEmptyParentBecomesChildList)
{
    XMLElement parent(xmlDuplicate("p"));
    XMLElement *const a = element("a");
    a->setNextSibling(element("b"));
    parent.insertChildrenAfter(nullptr, a);
    EXPECT_EQ(dumpTree(&parent), "p(a,b)");
    EXPECT_EQ(a->nextSibling()->parent(), &parent);
}

struct AttributeStep {
    enum { Set, Remove } action;
    const char *name;
    const char *value;
};

TEST(XMLElementAttributes, KeepOrderReplaceInPlaceAndRemoveFirst)
{
    XMLElement e(xmlDuplicate("e"));
    const AttributeStep steps[] = {
        {AttributeStep::Set, "a", "1"},    {AttributeStep::Set, "b", "2"},
        {AttributeStep::Set, "c", "3"},    {AttributeStep::Set, "a", "4"},
        {AttributeStep::Remove, "b", ""},  {AttributeStep::Remove, "B", ""},
        {AttributeStep::Set, "d", nullptr},
    };
    for (const AttributeStep &step : steps) {
        if (step.action == AttributeStep::Set)
            e.setAttribute(xmlDuplicate(step.name), xmlDuplicate(step.value));
        else
            e.removeAttribute(step.name);
    }
    EXPECT_EQ(dumpTree(&e), "e[a=4,c=3,d=~]");
    EXPECT_EQ(e.hasAttribute("c"), 1);
    EXPECT_EQ(e.hasAttribute("C"), 0);
    EXPECT_STREQ(e.attribute("a"), "4");
    EXPECT_EQ(e.attribute("b"), nullptr);
}

// A document class with its own element class, as the project system and memory maps have.
class CountingElement : public XMLElement {
public:
    explicit CountingElement(char *name) : XMLElement(name) {}
    void setAttribute(char *name, char *value) override
    {
        ++setCount;
        XMLElement::setAttribute(name, value);
    }
    void appendChild(XMLNode *node) override
    {
        ++appendCount;
        XMLElement::appendChild(node);
    }
    int setCount = 0;
    int appendCount = 0;
};

class CountingDocument : public QXMLDocument {
public:
    XMLElement *createElement(char *name) override { return new CountingElement(name); }
};

TEST(XMLDocumentFactory, ParserAndCloneMakeElementsThroughIt)
{
    CountingDocument document;
    ASSERT_EQ(document.parseBuffer("<a x='1' y='2' x='3'><b/><c/></a>"), 1);
    auto *root = dynamic_cast<CountingElement *>(document.root());
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(root->setCount, 3);
    EXPECT_EQ(root->appendCount, 2);
    EXPECT_NE(dynamic_cast<CountingElement *>(root->firstChild()), nullptr);

    XMLElement holder(xmlDuplicate("holder"));
    XMLNode *const copy = document.cloneNode(root, &holder);
    EXPECT_EQ(dumpTree(&holder), "holder(a[x=3,y=2](b,c))");
    auto *countingCopy = dynamic_cast<CountingElement *>(copy);
    ASSERT_NE(countingCopy, nullptr);
    EXPECT_EQ(countingCopy->setCount, 2);
    EXPECT_EQ(document.cloneNode(nullptr, &holder), nullptr);
}

TEST(XMLCloneNode, CopiesEveryKindAndStaysIndependent)
{
    XMLDocument document(1);
    ASSERT_EQ(document.parseBuffer("<a k='v'>t<!--c--><![CDATA[d]]><b/></a>"), 1);
    XMLNode *const copy = document.cloneNode(document.root(), nullptr);
    delete document.takeRoot();
    EXPECT_EQ(dumpTree(copy), "a[k=v](\"t\",!c!,\"\",[d],\"\",b,\"\")");
    delete copy;
}

TEST(XMLStringOwnership, ParsedNodesOutliveTheirDocument)
{
    XMLElement *kept = nullptr;
    {
        XMLDocument document(1);
        ASSERT_EQ(document.parseBuffer("<a x='1'><b y='2'>text</b></a>"), 1);
        kept = firstElement(document.root()->firstChild(), "b");
        ASSERT_NE(kept, nullptr);
        document.root()->removeChild(kept);
        kept->setNextSibling(nullptr);
    }
    kept->setName(xmlDuplicate("renamed"));
    kept->setAttribute(xmlDuplicate("y"), xmlDuplicate("3"));
    EXPECT_EQ(dumpTree(kept), "renamed[y=3](\"text\")");
    delete kept;
}

struct FindCase {
    const char *name;
    bool recursive;
    std::vector<const char *> ids;   // attribute "id" of what findElements finds for "x"
};

class XMLFindElements : public ::testing::TestWithParam<FindCase> {};

TEST_P(XMLFindElements, InDocumentOrder)
{
    XMLDocument document(1);
    ASSERT_EQ(document.parseBuffer(
                  "<r><x id='1'><x id='2'/><y><x id='3'/></y></x>text<x id='4'/></r>"),
              1);
    std::vector<XMLElement *> found;
    findElements(document.root()->firstChild(), "x", GetParam().recursive, found);
    std::vector<std::string> ids;
    for (const XMLElement *e : found)
        ids.emplace_back(e->attribute("id"));
    EXPECT_EQ(ids, std::vector<std::string>(GetParam().ids.begin(), GetParam().ids.end()));
    const XMLElement *first = findElement(document.root()->firstChild(), "y", GetParam().recursive);
    EXPECT_EQ(first != nullptr, GetParam().recursive);
}

INSTANTIATE_TEST_SUITE_P(Walks, XMLFindElements,
                         ::testing::Values(FindCase{"chainOnly", false, {"1", "4"}},
                                           FindCase{"depthFirst", true, {"1", "2", "3", "4"}}),
                         [](const auto &info) { return std::string(info.param.name); });

TEST(XMLNodeHelpers, TextAndFirstElements)
{
    XMLDocument document(1);
    ASSERT_EQ(document.parseBuffer("<r>one<a/>two\xc3\xa9<b id='b1'/><!--x-->three</r>"), 1);
    EXPECT_EQ(textOf(document.root()), QString::fromUtf8("onetwo\xc3\xa9three"));
    XMLElement other(xmlDuplicate("o"));
    other.appendChild(element("b"));
    other.appendChild(element("c"));
    XMLNode *const chain = document.root()->firstChild();
    EXPECT_STREQ(firstElement(chain, "b")->attribute("id"), "b1");
    EXPECT_EQ(firstElement(chain, "c"), nullptr);
    EXPECT_EQ(firstElementOfEither(chain, other.firstChild(), "c"), other.lastChild());
    EXPECT_STREQ(firstElementOfEither(chain, other.firstChild(), "b")->attribute("id"), "b1");
    EXPECT_EQ(firstElementOfEither(nullptr, nullptr, "b"), nullptr);
}

} // namespace
