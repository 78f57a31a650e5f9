#include "api_error.h"

using namespace Qt::Literals::StringLiterals;

QString APIError::errorDescription() const
{
    if (!server.isEmpty() && kind != Kind::fatal)
        return serverDescription();
    switch (kind) {
        case Kind::http:
            if (status == 401)
                return u"The API key was rejected. Check it in Settings."_s;
            if (message.isEmpty())
                return u"Claude API error "_s + QString::number(status);
            return u"Claude API error "_s + QString::number(status) + u": "_s + message;
        case Kind::fatal:
            return message;
        case Kind::badResponse:
            return u"Unexpected response from Claude."_s;
        case Kind::busy:
            return u"Claude is busy right now. Try again in a minute."_s;
        case Kind::parse:
            // The service did answer, so blaming the connection would send the person astray.
            return u"Claude's answer could not be read: "_s + message + u'.';
        case Kind::transport:
        case Kind::cancelled:
            break;
    }
    // Failures that are not the service's own answer.
    return u"Couldn't reach Claude. Check your internet connection and try again."_s;
}

QString APIError::serverDescription() const
{
    switch (kind) {
        case Kind::http:
            // Only the first line of a JSON error reaches here; an HTML page never does.
            if (message.isEmpty())
                return u"Your model server refused the request (error "_s + QString::number(status) + u")."_s;
            return u"Your model server refused the request (error "_s + QString::number(status) + u"): "_s + message
                + (message.endsWith(u'.') ? u""_s : u"."_s);
        case Kind::badResponse:
            return u"Unexpected response from your model server at "_s + server + u'.';
        case Kind::busy:
            return u"Your model server at "_s + server + u" is busy. Try again in a minute."_s;
        case Kind::parse:
            return u"Your model server's answer could not be read: "_s + message + u'.';
        case Kind::fatal:
            return message;
        case Kind::transport:
        case Kind::cancelled:
            break;
    }
    return u"Couldn't reach your model server at "_s + server + u". Check that it is running."_s;
}

bool APIError::isFatal() const
{
    return kind == Kind::fatal;
}

APIError APIError::http(int status, const QString& serviceMessage)
{
    APIError error;
    error.kind = Kind::http;
    error.status = status;
    error.message = serviceMessage;
    return error;
}

APIError APIError::fatal(const QString& message)
{
    APIError error;
    error.kind = Kind::fatal;
    error.message = message;
    return error;
}

APIError APIError::parse(const QString& parserError)
{
    APIError error;
    error.kind = Kind::parse;
    error.message = parserError;
    return error;
}

APIError APIError::of(Kind kind)
{
    APIError error;
    error.kind = kind;
    return error;
}
