int Ask();
namespace uvek::m7 {
int answer = Ask();
}
