<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>CardHeader</name>
    <message>
        <source>not registered</source>
        <translation>nicht eingebucht</translation>
    </message>
    <message>
        <source>registered at home</source>
        <translation>im Heimnetz eingebucht</translation>
    </message>
    <message>
        <source>searching for a network</source>
        <translation>sucht ein Netz</translation>
    </message>
    <message>
        <source>registration denied</source>
        <translation>Einbuchung abgelehnt</translation>
    </message>
    <message>
        <source>registration unknown</source>
        <translation>Einbuchung unbekannt</translation>
    </message>
    <message>
        <source>registered, roaming</source>
        <translation>eingebucht, Roaming</translation>
    </message>
    <message>
        <source>registered at home, messages only</source>
        <translation>im Heimnetz eingebucht, nur Nachrichten</translation>
    </message>
    <message>
        <source>registered, roaming, messages only</source>
        <translation>eingebucht, Roaming, nur Nachrichten</translation>
    </message>
    <message>
        <source>emergency calls only</source>
        <translation>nur Notrufe</translation>
    </message>
    <message>
        <source>registered at home, calls not preferred</source>
        <translation>im Heimnetz eingebucht, Anrufe nachrangig</translation>
    </message>
    <message>
        <source>registered, roaming, calls not preferred</source>
        <translation>eingebucht, Roaming, Anrufe nachrangig</translation>
    </message>
    <message>
        <source>No card</source>
        <translation>Keine Karte</translation>
    </message>
    <message>
        <source>Insert a card, or choose one on the page Cards.</source>
        <translation>Legen Sie eine Karte ein oder wählen Sie eine auf der Seite Karten.</translation>
    </message>
    <message>
        <source>A card without a model</source>
        <translation>Eine Karte ohne Modell</translation>
    </message>
    <message>
        <source>no operator</source>
        <translation>kein Betreiber</translation>
    </message>
    <message>
        <source>operator %1</source>
        <translation>Betreiber %1</translation>
    </message>
    <message>
        <source>no technology</source>
        <translation>keine Technik</translation>
    </message>
    <message>
        <source>lock unknown</source>
        <translation>Sperre unbekannt</translation>
    </message>
    <message>
        <source>SIM locked (state %1)</source>
        <translation>SIM gesperrt (Zustand %1)</translation>
    </message>
    <message>
        <source>SIM not locked</source>
        <translation>SIM nicht gesperrt</translation>
    </message>
    <message>
        <source>No card yet</source>
        <translation>Noch keine Karte</translation>
    </message>
</context>
<context>
    <name>CardPage</name>
    <message>
        <source>&amp;Use this card</source>
        <translation>Diese Karte &amp;verwenden</translation>
    </message>
    <message>
        <source>Cards</source>
        <translation>Karten</translation>
    </message>
    <message>
        <source>Card</source>
        <translation>Karte</translation>
    </message>
    <message>
        <source>What it is</source>
        <translation>Beschreibung</translation>
    </message>
    <message>
        <source>Try serial &amp;ports</source>
        <translation>Serielle &amp;Anschlüsse prüfen</translation>
    </message>
    <message>
        <source>Sends commands to each serial port to find those with a card.</source>
        <translation>Sendet Befehle an jeden seriellen Anschluss, um die mit einer Karte zu finden.</translation>
    </message>
    <message>
        <source>L&amp;ook again</source>
        <translation>&amp;Erneut suchen</translation>
    </message>
</context>
<context>
    <name>CardPicture</name>
    <message>
        <source>Picture of the card</source>
        <translation>Bild der Karte</translation>
    </message>
</context>
<context>
    <name>EmulatedPanel</name>
    <message>
        <source>Fill the outputs although the call fails</source>
        <translation>Ausgaben trotz Fehlschlags füllen</translation>
    </message>
    <message>
        <source>Fill texts to the end, without a NUL</source>
        <translation>Texte bis zum Ende füllen, ohne NUL</translation>
    </message>
    <message>
        <source>Texts of bytes above ASCII</source>
        <translation>Texte aus Bytes oberhalb von ASCII</translation>
    </message>
    <message>
        <source>Raise the event on another thread</source>
        <translation>Ereignis in einem anderen Thread auslösen</translation>
    </message>
    <message>
        <source>Remove the card before the call is answered</source>
        <translation>Karte vor der Antwort entfernen</translation>
    </message>
    <message>
        <source> ms</source>
        <translation> ms</translation>
    </message>
    <message>
        <source>Card</source>
        <translation>Karte</translation>
    </message>
    <message>
        <source>&amp;Card:</source>
        <translation>&amp;Karte:</translation>
    </message>
    <message>
        <source>&amp;Insert</source>
        <translation>E&amp;inlegen</translation>
    </message>
    <message>
        <source>The card is inserted.</source>
        <translation>Die Karte ist eingelegt.</translation>
    </message>
    <message>
        <source>Re&amp;move</source>
        <translation>Ent&amp;fernen</translation>
    </message>
    <message>
        <source>The card is removed.</source>
        <translation>Die Karte ist entfernt.</translation>
    </message>
    <message>
        <source>Change a field</source>
        <translation>Feld ändern</translation>
    </message>
    <message>
        <source>Fiel&amp;d:</source>
        <translation>Fe&amp;ld:</translation>
    </message>
    <message>
        <source>&amp;Value:</source>
        <translation>&amp;Wert:</translation>
    </message>
    <message>
        <source>C&amp;hange</source>
        <translation>Änder&amp;n</translation>
    </message>
    <message>
        <source>The field is changed.</source>
        <translation>Das Feld ist geändert.</translation>
    </message>
    <message>
        <source>Raise an event</source>
        <translation>Ereignis auslösen</translation>
    </message>
    <message>
        <source>&amp;Event:</source>
        <translation>&amp;Ereignis:</translation>
    </message>
    <message>
        <source>The event is raised.</source>
        <translation>Das Ereignis ist ausgelöst.</translation>
    </message>
    <message>
        <source>Fault of a function</source>
        <translation>Fehler einer Funktion</translation>
    </message>
    <message>
        <source>F&amp;unction:</source>
        <translation>F&amp;unktion:</translation>
    </message>
    <message>
        <source>&amp;Result:</source>
        <translation>E&amp;rgebnis:</translation>
    </message>
    <message>
        <source>Dela&amp;y:</source>
        <translation>Ver&amp;zögerung:</translation>
    </message>
    <message>
        <source>Eve&amp;nt:</source>
        <translation>Erei&amp;gnis:</translation>
    </message>
    <message>
        <source>Se&amp;t the fault</source>
        <translation>Fehler &amp;setzen</translation>
    </message>
    <message>
        <source>The fault is set.</source>
        <translation>Der Fehler ist gesetzt.</translation>
    </message>
    <message>
        <source>The fault is cleared.</source>
        <translation>Der Fehler ist gelöscht.</translation>
    </message>
    <message>
        <source>Choose a card file</source>
        <translation>Kartendatei wählen</translation>
    </message>
    <message>
        <source>Card files (*.ini);;All files (*)</source>
        <translation>Kartendateien (*.ini);;Alle Dateien (*)</translation>
    </message>
    <message>
        <source>Ch&amp;oose a card file…</source>
        <translation>Karten&amp;datei wählen …</translation>
    </message>
    <message>
        <source>Rai&amp;se</source>
        <translation>&amp;Auslösen</translation>
    </message>
    <message>
        <source>Clear the f&amp;ault</source>
        <translation>Fehler lös&amp;chen</translation>
    </message>
    <message>
        <source>Chan&amp;ge the card</source>
        <translation>Kar&amp;te wechseln</translation>
    </message>
    <message>
        <source>The card is changed.</source>
        <translation>Die Karte ist gewechselt.</translation>
    </message>
</context>
<context>
    <name>InterfacePage</name>
    <message>
        <source>Calls of the plug-in&apos;s interface</source>
        <translation>Aufrufe der Schnittstelle des Plug-ins</translation>
    </message>
    <message>
        <source>Call</source>
        <translation>Aufruf</translation>
    </message>
    <message>
        <source>Answer</source>
        <translation>Antwort</translation>
    </message>
    <message>
        <source>Change in the window</source>
        <translation>Änderung im Fenster</translation>
    </message>
    <message>
        <source>&amp;Call again</source>
        <translation>&amp;Erneut aufrufen</translation>
    </message>
    <message>
        <source>none</source>
        <translation>keine</translation>
    </message>
    <message>
        <source>changed</source>
        <translation>geändert</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>The card is gone or no longer answers; insert it, or choose one on the page Cards.</source>
        <translation>Die Karte ist entfernt oder antwortet nicht mehr; legen Sie sie wieder ein oder wählen Sie eine andere auf der Seite Karten.</translation>
    </message>
    <message>
        <source>The plug-in refused the language; choose another one.</source>
        <translation>Das Plug-in lehnt die Sprache ab; wählen Sie eine andere.</translation>
    </message>
    <message>
        <source>Kestrun Dashboard</source>
        <translation>Kestrun-Dashboard</translation>
    </message>
    <message>
        <source>&amp;File</source>
        <translation>&amp;Datei</translation>
    </message>
    <message>
        <source>&amp;Write a report</source>
        <translation>Bericht &amp;schreiben</translation>
    </message>
    <message>
        <source>Load &amp;again</source>
        <translation>&amp;Neu laden</translation>
    </message>
    <message>
        <source>&amp;Quit</source>
        <translation>&amp;Beenden</translation>
    </message>
    <message>
        <source>&amp;Language</source>
        <translation>S&amp;prache</translation>
    </message>
    <message>
        <source>Pages</source>
        <translation>Seiten</translation>
    </message>
    <message>
        <source>Report</source>
        <translation>Bericht</translation>
    </message>
    <message>
        <source>Time line</source>
        <translation>Zeitachse</translation>
    </message>
    <message>
        <source>Everything</source>
        <translation>Alles</translation>
    </message>
    <message>
        <source>Events and signals</source>
        <translation>Ereignisse und Signale</translation>
    </message>
    <message>
        <source>Rewrites and changes</source>
        <translation>Berichte und Änderungen</translation>
    </message>
    <message>
        <source>Problems</source>
        <translation>Probleme</translation>
    </message>
    <message>
        <source>SMS</source>
        <translation>SMS</translation>
    </message>
    <message>
        <source>Cards</source>
        <translation>Karten</translation>
    </message>
    <message>
        <source>Emulated card</source>
        <translation>Emulierte Karte</translation>
    </message>
    <message>
        <source>Log</source>
        <translation>Protokoll</translation>
    </message>
    <message>
        <source>Warnings and errors</source>
        <translation>Warnungen und Fehler</translation>
    </message>
    <message>
        <source>Interface</source>
        <translation>Schnittstelle</translation>
    </message>
    <message>
        <source>Loading failed: %1</source>
        <translation>Das Laden ist gescheitert: %1</translation>
    </message>
    <message>
        <source>No report was written: %1</source>
        <translation>Es wurde kein Bericht geschrieben: %1</translation>
    </message>
    <message>
        <source>The card cannot be used: %1</source>
        <translation>Die Karte kann nicht benutzt werden: %1</translation>
    </message>
</context>
<context>
    <name>MessageBar</name>
    <message>
        <source>Warning</source>
        <translation>Warnung</translation>
    </message>
    <message>
        <source>Dismiss</source>
        <translation>Schließen</translation>
    </message>
    <message>
        <source>Try again</source>
        <translation>Erneut versuchen</translation>
    </message>
    <message>
        <source>Use a trial directory</source>
        <translation>Probeverzeichnis verwenden</translation>
    </message>
</context>
<context>
    <name>Plot</name>
    <message>
        <source>Report durations and technology over time</source>
        <translation>Dauer der Berichte und Technik im Zeitverlauf</translation>
    </message>
    <message>
        <source>No report was written yet.</source>
        <translation>Es wurde noch kein Bericht geschrieben.</translation>
    </message>
    <message numerus="yes">
        <source>%n report(s); the latest took %1 ms; technology: %2.</source>
        <translation>
            <numerusform>%n Bericht; er dauerte %1 ms; Technik: %2.</numerusform>
            <numerusform>%n Berichte; der letzte dauerte %1 ms; Technik: %2.</numerusform>
        </translation>
    </message>
    <message>
        <source>none</source>
        <translation>keine</translation>
    </message>
    <message>
        <source>Report duration, ms</source>
        <translation>Dauer der Berichte, ms</translation>
    </message>
</context>
<context>
    <name>RecordModel</name>
    <message>
        <source>card</source>
        <translation>Karte</translation>
    </message>
    <message>
        <source>event</source>
        <translation>Ereignis</translation>
    </message>
    <message>
        <source>signal</source>
        <translation>Signal</translation>
    </message>
    <message>
        <source>rewrite</source>
        <translation>Bericht</translation>
    </message>
    <message>
        <source>change</source>
        <translation>Änderung</translation>
    </message>
    <message>
        <source>call</source>
        <translation>Aufruf</translation>
    </message>
    <message>
        <source>problem</source>
        <translation>Problem</translation>
    </message>
    <message>
        <source>debug</source>
        <translation>Ablauf</translation>
    </message>
    <message>
        <source>info</source>
        <translation>Hinweis</translation>
    </message>
    <message>
        <source>warning</source>
        <translation>Warnung</translation>
    </message>
    <message>
        <source>critical</source>
        <translation>Fehler</translation>
    </message>
    <message>
        <source>Time</source>
        <translation>Zeit</translation>
    </message>
    <message>
        <source>Kind</source>
        <translation>Art</translation>
    </message>
    <message>
        <source>What happened</source>
        <translation>Was geschah</translation>
    </message>
</context>
<context>
    <name>RecordView</name>
    <message>
        <source>What is shown</source>
        <translation>Was gezeigt wird</translation>
    </message>
</context>
<context>
    <name>ReportModel</name>
    <message>
        <source>Element</source>
        <translation>Element</translation>
    </message>
    <message>
        <source>Value</source>
        <translation>Wert</translation>
    </message>
    <message>
        <source>State</source>
        <translation>Zustand</translation>
    </message>
    <message>
        <source>Origin</source>
        <translation>Herkunft</translation>
    </message>
    <message>
        <source>ok</source>
        <translation>in Ordnung</translation>
    </message>
    <message>
        <source>empty by rule</source>
        <translation>leer nach Regel</translation>
    </message>
    <message>
        <source>refused</source>
        <translation>abgelehnt</translation>
    </message>
    <message>
        <source>timed out</source>
        <translation>Zeit überschritten</translation>
    </message>
    <message>
        <source>not supported</source>
        <translation>nicht unterstützt</translation>
    </message>
    <message>
        <source>file missing</source>
        <translation>Datei fehlt</translation>
    </message>
    <message>
        <source>cut</source>
        <translation>gekürzt</translation>
    </message>
</context>
<context>
    <name>Session</name>
    <message>
        <source>a card was inserted, changed or removed</source>
        <translation>eine Karte wurde eingelegt, geändert oder entfernt</translation>
    </message>
    <message>
        <source>a card is ready</source>
        <translation>eine Karte ist bereit</translation>
    </message>
    <message>
        <source>the SIM or its lock changed</source>
        <translation>die SIM oder ihre Sperre hat sich geändert</translation>
    </message>
    <message>
        <source>the card was removed</source>
        <translation>die Karte wurde entfernt</translation>
    </message>
    <message>
        <source>the card&apos;s radio was switched on</source>
        <translation>der Funk der Karte wurde eingeschaltet</translation>
    </message>
    <message>
        <source>the card no longer answers</source>
        <translation>die Karte antwortet nicht mehr</translation>
    </message>
    <message>
        <source>registration, technology, operator or cell changed</source>
        <translation>Einbuchung, Technik, Betreiber oder Zelle hat sich geändert</translation>
    </message>
    <message>
        <source>Loading the plug-in and the device service</source>
        <translation>Plug-in und Gerätedienst werden geladen</translation>
    </message>
    <message>
        <source>Starting the plug-in, which writes a report</source>
        <translation>Das Plug-in startet und schreibt einen Bericht</translation>
    </message>
    <message>
        <source>A report is being written</source>
        <translation>Ein Bericht wird geschrieben</translation>
    </message>
    <message>
        <source>A message is being sent</source>
        <translation>Eine Nachricht wird gesendet</translation>
    </message>
    <message>
        <source>The plug-in is not loaded; nothing was sent.</source>
        <translation>Das Plug-in ist nicht geladen; nichts wurde gesendet.</translation>
    </message>
    <message>
        <source>The device service refused delivery receipts; nothing was sent.</source>
        <translation>Der Gerätedienst lehnt Empfangsbestätigungen ab; nichts wurde gesendet.</translation>
    </message>
    <message>
        <source>The device service refused the message; the page Log shows the result.</source>
        <translation>Der Gerätedienst lehnt die Nachricht ab; die Seite Protokoll zeigt das Ergebnis.</translation>
    </message>
    <message>
        <source>The device service accepted the message and will ask for a receipt.</source>
        <translation>Der Gerätedienst hat die Nachricht angenommen und bittet um eine Empfangsbestätigung.</translation>
    </message>
    <message>
        <source>The device service accepted the message.</source>
        <translation>Der Gerätedienst hat die Nachricht angenommen.</translation>
    </message>
    <message>
        <source>Starting %1</source>
        <translation>%1 startet</translation>
    </message>
    <message>
        <source>Looking for cards</source>
        <translation>Karten werden gesucht</translation>
    </message>
    <message>
        <source>Asking the card</source>
        <translation>Die Karte wird befragt</translation>
    </message>
    <message>
        <source>Ending</source>
        <translation>Das Programm endet</translation>
    </message>
    <message>
        <source>unknown</source>
        <translation>unbekannt</translation>
    </message>
    <message numerus="yes">
        <source>%n value(s) changed</source>
        <translation>
            <numerusform>%n Wert geändert</numerusform>
            <numerusform>%n Werte geändert</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>SmsPanel</name>
    <message>
        <source>Ask for a delivery &amp;receipt</source>
        <translation>Empfangsbestätigung e&amp;rbitten</translation>
    </message>
    <message>
        <source>&amp;Send</source>
        <translation>&amp;Senden</translation>
    </message>
    <message>
        <source>&amp;Number:</source>
        <translation>&amp;Nummer:</translation>
    </message>
    <message>
        <source>&amp;Text:</source>
        <translation>&amp;Text:</translation>
    </message>
    <message>
        <source>The message is being sent…</source>
        <translation>Die Nachricht wird gesendet …</translation>
    </message>
</context>
</TS>
