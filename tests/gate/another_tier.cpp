namespace uvek::mx {
int Ask();
}
namespace uvek::m7 {
int Answer() { return mx::Ask() + 1; }
}
