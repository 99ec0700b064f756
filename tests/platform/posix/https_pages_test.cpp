#include "platform/posix/https_pages.h"

#include <atomic>
#include <boost/asio/read.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/asio/write.hpp>
#include <chrono>
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>
#include <string>
#include <thread>

#include "platform/posix/posix_message_pump.h"
#include "support/temporary_folder.h"

namespace kestrane {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;

/// A key and a certificate that names a host and is signed by itself, as files.
void MakeCertificate(const std::string& host, const std::string& keyFile, const std::string& certificateFile) {
    EVP_PKEY* const key = EVP_EC_gen("P-256");
    X509* const certificate = X509_new();
    X509_set_version(certificate, 2);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate), 1);
    X509_gmtime_adj(X509_getm_notBefore(certificate), -3600);
    X509_gmtime_adj(X509_getm_notAfter(certificate), 3600);
    X509_set_pubkey(certificate, key);
    X509_NAME* const name = X509_get_subject_name(certificate);
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>(host.c_str()), -1, -1,
                               0);
    X509_set_issuer_name(certificate, name);
    X509_EXTENSION* const names = X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, ("DNS:" + host).c_str());
    X509_add_ext(certificate, names, -1);
    X509_sign(certificate, key, EVP_sha256());
    std::FILE* file = std::fopen(keyFile.c_str(), "w");
    PEM_write_PrivateKey(file, key, nullptr, nullptr, 0, nullptr, nullptr);
    std::fclose(file);
    file = std::fopen(certificateFile.c_str(), "w");
    PEM_write_X509(file, certificate);
    std::fclose(file);
    X509_EXTENSION_free(names);
    X509_free(certificate);
    EVP_PKEY_free(key);
}

/// A server that answers one request over TLS with these bytes, or with none.
class TlsServer {
public:
    TlsServer(const std::string& keyFile, const std::string& certificateFile, std::string answer)
        : answer_(std::move(answer)) {
        tls_.use_certificate_file(certificateFile, asio::ssl::context::pem);
        tls_.use_private_key_file(keyFile, asio::ssl::context::pem);
        thread_ = std::thread([this] { Serve(); });
    }
    ~TlsServer() {
        boost::system::error_code ignored;
        tcp::socket last(context_);
        last.connect(acceptor_.local_endpoint(), ignored);  // for a thread that still waits
        last.close(ignored);
        if (thread_.joinable()) {
            thread_.join();
        }
    }
    std::string Host(const std::string& name) const {
        return name + ":" + std::to_string(acceptor_.local_endpoint().port());
    }
    /// Waits until the other side has gone.
    std::string Heard() {
        thread_.join();
        return heard_;
    }

private:
    void Serve() {
        boost::system::error_code error;
        asio::ssl::stream<tcp::socket> stream(context_, tls_);
        acceptor_.accept(stream.next_layer(), error);
        stream.handshake(asio::ssl::stream_base::server, error);
        if (!error) {
            asio::read_until(stream, asio::dynamic_buffer(heard_), "\r\n\r\n", error);
            asio::write(stream, asio::buffer(answer_), error);
            std::string rest;
            asio::read(stream, asio::dynamic_buffer(rest), error);  // until the other side goes
        }
    }

    const std::string answer_;
    std::string heard_;
    asio::io_context context_;
    asio::ssl::context tls_{asio::ssl::context::tls_server};
    tcp::acceptor acceptor_{context_, tcp::endpoint(asio::ip::make_address("127.0.0.1"), 0)};
    std::thread thread_;
};

class HttpsPagesTest : public testing::Test {
protected:
    HttpsPagesTest() { MakeCertificate("localhost", File("key"), File("certificate")); }

    std::string File(const std::string& name) const { return (folder_.Path() / name).string(); }
    static std::string Page(const std::string& body, const std::string& status = "200 OK") {
        return "HTTP/1.1 " + status + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
    }
    std::optional<std::string> Fetch(WebPageRequest request, const std::string& trusted) {
        std::optional<std::string> answer;
        HttpsPages pages(pump_, trusted);
        const auto caller = std::this_thread::get_id();
        pages.Fetch(std::move(request), [&](std::optional<std::string> body) {
            EXPECT_EQ(std::this_thread::get_id(), caller);
            answer = std::move(body);
            pump_.Quit();
        });
        pump_.Run();
        return answer;
    }
    std::optional<std::string> AnswerTo(const std::string& page, std::int32_t withinMs = 5000) {
        TlsServer server(File("key"), File("certificate"), page);
        const auto answer = Fetch({.host = server.Host("localhost"),
                                   .target = "/a?b=c",
                                   .headers = {{"User-Agent", "Tester"}},
                                   .withinMs = withinMs,
                                   .mostBodyBytes = 20},
                                  File("certificate"));
        heard_ = server.Heard();
        return answer;
    }

    PosixMessagePump pump_{[](const std::exception_ptr& fault) { std::rethrow_exception(fault); }};
    TemporaryFolder folder_;
    std::string heard_;
};

TEST_F(HttpsPagesTest, PageComes_OnTheThreadOfThePump) {
    EXPECT_EQ(AnswerTo(Page("5.50.10\r\n")), "5.50.10\r\n");
    EXPECT_TRUE(heard_.starts_with("GET /a?b=c HTTP/1.1\r\n")) << heard_;
    EXPECT_NE(heard_.find("User-Agent: Tester\r\n"), std::string::npos);
    EXPECT_NE(heard_.find("Host: localhost:"), std::string::npos);
}

TEST_F(HttpsPagesTest, WhatIsNoGoodPage_IsNone) {
    EXPECT_EQ(AnswerTo(Page("5.50.10", "404 Not Found")), std::nullopt);
    EXPECT_EQ(AnswerTo(Page(std::string(21, '5'))), std::nullopt) << "too long";
    EXPECT_EQ(AnswerTo("no HTTP\r\n\r\n"), std::nullopt);
}

TEST_F(HttpsPagesTest, SilentServer_IsGivenUpAtTheLimit) {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(AnswerTo("", 300), std::nullopt);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(290));
}

TEST_F(HttpsPagesTest, CertificateThatIsNotTrusted_OrNamesAnotherHost_GivesNoPage) {
    {
        TlsServer server(File("key"), File("certificate"), Page("5.50.10"));
        EXPECT_EQ(Fetch({.host = server.Host("localhost"), .target = "/", .headers = {}}, ""), std::nullopt);
    }
    MakeCertificate("other.test", File("otherKey"), File("otherCertificate"));
    TlsServer server(File("otherKey"), File("otherCertificate"), Page("5.50.10"));
    EXPECT_EQ(Fetch({.host = server.Host("localhost"), .target = "/", .headers = {}}, File("otherCertificate")),
              std::nullopt);
}

TEST_F(HttpsPagesTest, NobodyListens_GivesNoPage) {
    EXPECT_EQ(Fetch({.host = "127.0.0.1:1", .target = "/", .headers = {}}, ""), std::nullopt);
}

TEST_F(HttpsPagesTest, AfterTheEndOfTheObject_NothingIsToldAnyMore) {
    bool told = false;
    TlsServer server(File("key"), File("certificate"), Page("5.50.10"));
    {
        HttpsPages pages(pump_, File("certificate"));
        pages.Fetch({.host = server.Host("localhost"), .target = "/", .headers = {}},
                    [&](const auto&) { told = true; });
    }
    const auto timer = pump_.CreateTimer([this] { pump_.Quit(); });
    timer->SetInterval(500);
    timer->SetEnabled(true);
    pump_.Run();
    EXPECT_FALSE(told);
}

}  // namespace
}  // namespace kestrane
