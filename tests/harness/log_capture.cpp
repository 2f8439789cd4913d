#include "tests/harness/log_capture.h"

#include <iconv.h>

#include <ostream>
#include <stdexcept>

namespace fwbase::test {

namespace {

std::string convert(const char* to, const char* from, const std::string& text) {
  const iconv_t converter = iconv_open(to, from);
  if (converter == reinterpret_cast<iconv_t>(-1)) {
    throw std::runtime_error("iconv_open failed");
  }
  std::string converted(text.size() * 4, '\0');
  char* in = const_cast<char*>(text.data());
  char* out = converted.data();
  std::size_t in_left = text.size();
  std::size_t out_left = converted.size();
  const std::size_t result = iconv(converter, &in, &in_left, &out, &out_left);
  iconv_close(converter);
  if (result == static_cast<std::size_t>(-1)) {
    throw std::runtime_error("not " + std::string(from) + ": " + text);
  }
  converted.resize(converted.size() - out_left);
  return converted;
}

}  // namespace

std::string encoded(const char* encoding, const std::string& utf8) {
  return convert(encoding, "UTF-8", utf8);
}
std::string gbk(const std::string& utf8) { return encoded("GBK", utf8); }
std::string utf8(const std::string& gbk) { return convert("UTF-8", "GBK", gbk); }

void PrintTo(const Record& record, std::ostream* out) {
  *out << "level " << record.level << ": " << utf8(record.message);
}

Record record(IRunLog::Type level, const std::string& message) { return {level, gbk(message), ""}; }

LogCapture::LogCapture(unsigned int levels) {
  IFWBase::instance()->runlog(this);
  LogCapture::type(levels);
}

LogCapture::~LogCapture() {
  LogCapture::type(0);
  IFWBase::instance()->runlog(nullptr);
}

std::vector<Record> LogCapture::records() const {
  const std::lock_guard<std::mutex> guard(m_mutex);
  return m_records;
}

void LogCapture::clear() {
  const std::lock_guard<std::mutex> guard(m_mutex);
  m_records.clear();
}

void LogCapture::write(Type type, const char* message, const char* location) {
  const std::lock_guard<std::mutex> guard(m_mutex);
  m_records.push_back({type, message, location != nullptr ? location : ""});
}

}  // namespace fwbase::test
