template <typename T>
__attribute__((noinline)) T Twice(T v) { return v + v; }
namespace uvek::m7 {
int Call(int v) { return Twice(v); }
}
