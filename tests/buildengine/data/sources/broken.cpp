#include <vector>
#include <string>
template <typename T> struct Box { T value; int get() { return value.size(); } };
int main()
{
    Box<int> b{1};
    std::vector<std::string> v;
    v.push_back(3);
    double d = 1e400;
    int i = d;
    return b.get() + undefinedThing;
}
