// SPDX-License-Identifier: MIT
#include "ScriptedModem.h"

namespace {

constexpr char kEndOfMessage = '\x1a';
constexpr char kMessage[] = "message"; // the script's entry for the answer to a message

const Script &common()
{
    static const Script script{
        {"AT", ""},
        {"ATE0", ""},
        {"ATV1", ""},
        {"ATX4", ""},
        {"AT&C1", ""},
        {"AT+CMEE=1", ""},
        {"AT+GCAP", "+GCAP: +CGSM,+DS,+ES"},
        {"AT+CGMI", "Fenland Radio"},
        {"AT+CGMR", "BD_FR421V1.0.0B07"},
        {"AT+CGSN", "490154203237518"},
        {"AT+CIMI", "214070123456789"},
        {"AT+CPIN?", "+CPIN: READY"},
        {"AT+CFUN?", "+CFUN: 1"},
        {"AT+CFUN=1", ""},
        {"AT+CFUN=4", ""},
        {"AT+CLCK=?", "+CLCK: (\"SC\",\"PS\",\"PN\")"},
        {"AT+CLCK=\"SC\",2", "+CLCK: 0"},
        {"AT+CLCK=\"PS\",2", "+CLCK: 0"},
        {"AT+CLCK=\"PN\",2", "+CLCK: 0"},
        {"AT+CRSM=176,12258,0,0,10", "+CRSM: 144,0,\"989410705214365870F9\""},
        {"AT+CRSM=176,28589,0,0,4", "+CRSM: 144,0,\"00000002\""},
        {"AT+CNUM", "+CNUM: \"\",\"+34600123456\",145"},
        {"AT+CSCS=?", "+CSCS: (\"IRA\",\"GSM\")"},
        {"AT+CSCS=\"IRA\"", ""},
        {"AT+CSCS?", "+CSCS: \"IRA\""},
        {"AT+CREG=2", ""},
        {"AT+CGREG=2", ""},
        {"AT+CEREG=2", ""},
        {"AT+CREG=0", ""},
        {"AT+CGREG=0", ""},
        {"AT+CEREG=0", ""},
        {"AT+COPS=3,2", ""},
        {"AT+COPS=3,0", ""},
        {"AT+COPS?", "+COPS: 0,2,\"21407\""},
        {"AT+CSQ", "+CSQ: 21,99"},
        {"AT+CSMS?", "+CSMS: 0,1,1,1"},
        {"AT+CMGF=?", "+CMGF: (0,1)"},
        {"AT+CMGF=0", ""},
        {"AT+CPMS=?", "+CPMS: (\"SM\",\"ME\"),(\"SM\",\"ME\"),(\"SM\",\"ME\")"},
        {"AT+CPMS?", "+CPMS: \"SM\",0,20,\"SM\",0,20,\"SM\",0,20"},
        {"AT+CPMS=\"SM\",\"ME\",\"ME\"", "+CPMS: 0,20,0,20,0,20"},
        {"AT+CPMS=\"SM\"", "+CPMS: 0,20,0,20,0,20"},
        {"AT+CPMS=\"ME\"", "+CPMS: 0,20,0,20,0,20"},
        {"AT+CNMI=?", "+CNMI: (0,1,2),(0,1,2,3),(0,2),(0,1,2),(0,1)"},
        {"AT+CNMI=2,1,2,1,0", ""},
        {"AT+CMGL=4", ""},
        {kMessage, "+CMGS: 7"},
        {"AT^RSTRIGGER?", "^RSTRIGGER: 1"},
    };
    return script;
}

Script with(Script script, const Script &more)
{
    script.insert(more);
    return script;
}

bool isFinal(const QByteArray &answer)
{
    return answer == "ERROR" || answer.startsWith("+CME ERROR") || answer.startsWith("+CMS ERROR");
}

} // namespace

Script ScriptedModem::umts()
{
    return with(common(),
                {{"AT+CGMM", "FR210"},
                 {"AT+WS46=?", "+WS46: (12,22,25)"},
                 {"AT+CREG?", "+CREG: 2,1,\"31C5\",\"83F7CD\",2"},
                 {"AT+CGREG?", "+CGREG: 2,1,\"31C5\",\"83F7CD\",2"}});
}

Script ScriptedModem::lte()
{
    return with(common(),
                {{"AT+CGMM", "FR421"},
                 {"AT+WS46=?", "+WS46: (12,22,25,28,31)"},
                 {"AT+CREG?", "+CREG: 2,1,\"1A2B\",\"0102F304\",7"},
                 {"AT+CGREG?", "+CGREG: 2,1,\"1A2B\",\"0102F304\",7"},
                 {"AT+CEREG?", "+CEREG: 2,1,\"1A2B\",\"0102F304\",7"}});
}

Script ScriptedModem::cdma()
{
    return {{"AT", ""},
            {"ATE0", ""},
            {"ATV1", ""},
            {"ATX4", ""},
            {"AT&C1", ""},
            {"AT+CMEE=1", ""},
            {"AT+GCAP", "+GCAP: +CIS707-A, CIS-856-A, +MS, +ES, +DS, +FCLASS"},
            {"AT+GMI", "Fenland Radio"},
            {"AT+GMM", "FR155"},
            {"AT+GMR", "BD_FR155V1.0.0B02"},
            {"AT+GSN", "+GSN: A10000009296F2"},
            {"ATI", "Fenland Radio"},
            {"AT+CAD?", "+CAD: 1"},
            {"AT+CSS?", "+CSS: 1,A,1234"},
            {"AT+CSQ?", "+CSQ: 21,99"}};
}

ScriptedModem::ScriptedModem(const QString &socketPath, Script script)
    : m_path(socketPath), m_script(std::move(script))
{
}

bool ScriptedModem::listen()
{
    m_server = new QLocalServer(this);
    connect(m_server, &QLocalServer::newConnection, this, &ScriptedModem::accept);
    return m_server->listen(m_path);
}

void ScriptedModem::setAnswer(const QByteArray &command, const QByteArray &answer)
{
    const QMutexLocker lock(&m_mutex);
    m_script[command] = answer;
}

void ScriptedModem::say(const QByteArray &line)
{
    QMetaObject::invokeMethod(this, [this, line] { write("\r\n" + line + "\r\n"); });
}

void ScriptedModem::setSilent(bool silent)
{
    const QMutexLocker lock(&m_mutex);
    m_silent = silent;
}

QList<QByteArray> ScriptedModem::journal() const
{
    const QMutexLocker lock(&m_mutex);
    return m_journal;
}

void ScriptedModem::accept()
{
    // The daemon closes a port and opens it again: the last connection counts.
    m_socket = m_server->nextPendingConnection();
    m_input.clear();
    m_takesMessage = false;
    connect(m_socket, &QLocalSocket::readyRead, this, &ScriptedModem::read);
}

void ScriptedModem::read()
{
    if (sender() != m_socket)
        return;
    m_input += m_socket->readAll();
    for (;;) {
        const auto end = m_input.indexOf(m_takesMessage ? kEndOfMessage : '\r');
        if (end < 0)
            return;
        const QByteArray part = m_input.left(end).trimmed();
        m_input.remove(0, end + 1);
        if (!part.isEmpty())
            obey(part);
    }
}

void ScriptedModem::obey(const QByteArray &command)
{
    QByteArray answer;
    {
        const QMutexLocker lock(&m_mutex);
        m_journal.append(command);
        if (m_silent)
            return;
        answer = m_script.value(m_takesMessage ? QByteArray(kMessage) : command, "ERROR");
    }
    if (command.startsWith("AT+CMGS=")) {
        m_takesMessage = true;
        write("\r\n> ");
        return;
    }
    m_takesMessage = false;
    finish(answer);
}

void ScriptedModem::finish(const QByteArray &answer)
{
    if (isFinal(answer))
        write("\r\n" + answer + "\r\n");
    else
        write((answer.isEmpty() ? QByteArray() : "\r\n" + answer + "\r\n") + "\r\nOK\r\n");
}

void ScriptedModem::write(const QByteArray &bytes)
{
    if (!m_socket)
        return;
    m_socket->write(bytes);
    m_socket->flush();
}
