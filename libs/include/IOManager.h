// SPDX-License-Identifier: MIT
// The host's gateway to the connected controller and to the host's message
// system. Modules hold a pointer to it and call it; only the host creates it.
//
// The order of the virtual functions is part of the binary contract with
// modules built elsewhere: set_timeout, send_command, get_parameter,
// get_parameter_int, set_parameter and send_message must stay in virtual-table
// slots 3, 4, 6, 7, 12 and 17 (the destructor takes slots 0 and 1). Never
// insert, remove or reorder a virtual function here; add new ones at the end.
//
// A module calls only the six operations in slots 3, 4, 6, 7, 12 and 17;
// they are pure. The other slots serve the host itself and keep their places
// in the table; their default bodies fail (or report nothing), so that a
// stand-in for the host (a test double, a benchmark) implements only the six.
//
// Request functions take a printf-style format and its arguments; the
// implementation formats the text itself. Text answers are written as
// NUL-terminated text into the caller's buffer, which is 200 bytes: at most
// 199 characters and the NUL. Every request returns 0 on success.
#pragma once

#include <QMetaType>
#include <QString>

class IOManager
{
public:
    virtual ~IOManager() {} // slots 0, 1

    // slot 2: whether the host has a working connection to its controller.
    virtual bool is_connected() const { return false; }

    // slot 3: time-outs in milliseconds (connect, reply) and retries. What
    // they govern is the host's: cascade-host applies them to the next
    // request only, 0 meaning its own value.
    virtual int set_timeout(int connect_ms, int reply_ms, int retries) = 0;

    // slot 4: sends the command "korvane ..." and stores the reply line.
    virtual int send_command(char *answer, const char *format, ...) = 0;

    // slot 5: sends one already formatted request line as it is and stores
    // the reply line (no printf formatting, so '%' is sent literally).
    virtual int send_line(char * /*answer*/, const char * /*line*/) { return -1; }

    // slot 6: reads a text parameter; stores its value alone.
    virtual int get_parameter(char *answer, const char *format, ...) = 0;

    // slot 7: reads an integer parameter.
    virtual int get_parameter_int(int *value, const char *format, ...) = 0;

    // slot 8: reads a floating-point parameter.
    virtual int get_parameter_double(double * /*value*/, const char * /*format*/, ...) { return -1; }

    // slot 9: address of the controller ("127.0.0.2"), empty when unknown.
    virtual QString controller_address() const { return QString(); }

    // slot 10: (re)connects to the controller at address and port.
    virtual int open_connection(const char * /*address*/, unsigned short /*port*/) { return -1; }

    // slot 11: closes the connection; later requests fail until reopened.
    virtual void close_connection() {}

    // slot 12: writes a parameter; the formatted text is "name value".
    virtual int set_parameter(const char *format, ...) = 0;

    // slot 13: writes an integer parameter: the formatted name, then value.
    virtual int set_parameter_int(int /*value*/, const char * /*format*/, ...) { return -1; }

    // slot 14: number of requests sent since the connection was opened.
    virtual int request_count() const { return 0; }

    // slot 15: switches logging of every request and its answer on or off.
    virtual void set_request_logging(bool /*on*/) {}

    // slot 16: text of the last failure, empty after a success.
    virtual QString last_error() const { return QString(); }

    // slot 17: hands a message to the host (error reports, change notices).
    virtual void send_message(const char *receiver, const char *sender, int type,
                              const char *text) = 0;
};

Q_DECLARE_METATYPE(IOManager *)
