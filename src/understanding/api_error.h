#pragma once

#include <QString>

// Why a request to Claude, or to the person's own model server, failed, with the text the person is shown.
struct APIError
{
    enum class Kind {
        http, // an answer with an error status
        fatal, // the whole refresh must stop
        badResponse,
        busy, // still overloaded after every retry
        transport, // no answer at all: no network, timeout, TLS
        parse, // an answer that is not JSON
        cancelled,
    };

    Kind kind = Kind::badResponse;
    int status = 0;
    // fatal: the text to show; parse: the JSON parser's own error; http: the first line of the
    // service's own error message, when it sent one
    QString message;
    // The person's own model server, as messages name it; empty for Claude.
    QString server;

    // The text shown to the person, unchanged.
    QString errorDescription() const;
    bool isFatal() const;

    static APIError http(int status, const QString& serviceMessage);
    static APIError fatal(const QString& message);
    static APIError parse(const QString& parserError);
    static APIError of(Kind kind);

private:
    QString serverDescription() const;
};
