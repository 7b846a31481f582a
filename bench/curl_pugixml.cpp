// A peer: libcurl for the exchange, pugixml for the answer. The easy handle is kept.
#include "contender.h"
#include "messages.h"
#include "pugixml_list.h"

#include <curl/curl.h>

#include <stdexcept>

using namespace bench;

namespace {

std::size_t append(char *data, std::size_t, std::size_t size, void *body) {
    static_cast<std::string *>(body)->append(data, size);
    return size;
}

class Curl final : public Contender {
public:
    explicit Curl(const Setup &setup) : url_("https://127.0.0.1:" + setup.port) {
        url_ += broker_path;
        headers_ = curl_slist_append(headers_, "Content-Type: text/xml; charset=UTF-8");
        headers_ = curl_slist_append(headers_, "Expect:");
        curl_easy_setopt(curl_, CURLOPT_URL, url_.c_str());
        curl_easy_setopt(curl_, CURLOPT_HTTPHEADER, headers_);
        curl_easy_setopt(curl_, CURLOPT_CAINFO, setup.trust_file.c_str());
        curl_easy_setopt(curl_, CURLOPT_CAPATH, nullptr);
        curl_easy_setopt(curl_, CURLOPT_FORBID_REUSE, 1L);
        curl_easy_setopt(curl_, CURLOPT_SSL_SESSIONID_CACHE, 0L);
        curl_easy_setopt(curl_, CURLOPT_WRITEFUNCTION, append);
        curl_easy_setopt(curl_, CURLOPT_WRITEDATA, &body_);
        curl_easy_setopt(curl_, CURLOPT_FAILONERROR, 1L);
    }
    ~Curl() override {
        curl_easy_cleanup(curl_);
        curl_slist_free_all(headers_);
        curl_global_cleanup();
    }

    void hello_and_operation() override {
        exchange(hello_request());
        exchange(operation_request());
    }

    void list() override {
        exchange(list_request());
        read_list();
    }

    void log_in() override {
        const auto requests = log_in_requests();
        for (const std::string &request : requests) {
            const bool last = &request == &requests.back();
            curl_easy_setopt(curl_, CURLOPT_FORBID_REUSE, long{last});
            exchange(request);
            if (request == list_request())
                read_list();
        }
    }

    std::vector<Desktop> desktops() override { return desktops_; }

private:
    void read_list() {
        desktops_ = read_with_pugixml(body_.data(), body_.size());
        body_ = {};
    }

    void exchange(const std::string &request) {
        body_.clear();
        curl_easy_setopt(curl_, CURLOPT_POSTFIELDSIZE, static_cast<long>(request.size()));
        curl_easy_setopt(curl_, CURLOPT_POSTFIELDS, request.c_str());
        if (const CURLcode failure = curl_easy_perform(curl_); failure != CURLE_OK)
            throw std::runtime_error(curl_easy_strerror(failure));
    }

    CURLcode ready_ = curl_global_init(CURL_GLOBAL_DEFAULT);
    CURL *curl_ = curl_easy_init();
    curl_slist *headers_ = nullptr;
    std::string url_;
    std::string body_;
    std::vector<Desktop> desktops_;
};

} // namespace

int main(int argc, char **argv) {
    return run_contender(argc, argv,
                         [](const Setup &setup) { return std::make_unique<Curl>(setup); });
}
