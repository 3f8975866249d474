<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>HostIOManager</name>
    <message>
        <source>not an integer: &quot;%1&quot;</source>
        <translation>keine ganze Zahl: „%1“</translation>
    </message>
    <message>
        <source>request cannot be formatted or is too long</source>
        <translation>Anfrage kann nicht formatiert werden oder ist zu lang</translation>
    </message>
    <message>
        <source>request is empty, too long or holds a line end</source>
        <translation>Anfrage ist leer, zu lang oder enthält ein Zeilenende</translation>
    </message>
    <message>
        <source>unexpected reply: &quot;%1&quot;</source>
        <translation>unerwartete Antwort: „%1“</translation>
    </message>
    <message>
        <source>send timed out</source>
        <translation>Zeitüberschreitung beim Senden</translation>
    </message>
    <message>
        <source>connection lost while sending</source>
        <translation>Verbindung beim Senden verloren</translation>
    </message>
    <message>
        <source>more than one reply line</source>
        <translation>mehr als eine Antwortzeile</translation>
    </message>
    <message>
        <source>reply line too long</source>
        <translation>Antwortzeile zu lang</translation>
    </message>
    <message>
        <source>no reply within %1 ms</source>
        <translation>keine Antwort innerhalb von %1 ms</translation>
    </message>
    <message>
        <source>connection lost while waiting for the reply</source>
        <translation>Verbindung beim Warten auf die Antwort verloren</translation>
    </message>
    <message>
        <source>the controller closed the connection</source>
        <translation>der Controller hat die Verbindung geschlossen</translation>
    </message>
    <message>
        <source>the controller sent &quot;%1&quot; before any request</source>
        <translation>der Controller hat vor jeder Anfrage „%1“ gesendet</translation>
    </message>
    <message>
        <source>no controller address</source>
        <translation>keine Controller-Adresse</translation>
    </message>
    <message>
        <source>not connected (%1); next attempt in %2 ms</source>
        <translation>nicht verbunden (%1); nächster Versuch in %2 ms</translation>
    </message>
    <message>
        <source>unknown address</source>
        <translation>unbekannte Adresse</translation>
    </message>
    <message>
        <source>no answer within %1 ms</source>
        <translation>keine Antwort innerhalb von %1 ms</translation>
    </message>
    <message>
        <source>connect: %1</source>
        <translation>Verbindungsaufbau: %1</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Message log</source>
        <translation>Meldungsprotokoll</translation>
    </message>
    <message>
        <source>Cascade Host</source>
        <translation>Kaskaden-Host</translation>
    </message>
    <message>
        <source>&amp;Quit</source>
        <translation>&amp;Beenden</translation>
    </message>
    <message>
        <source>&amp;File</source>
        <translation>&amp;Datei</translation>
    </message>
    <message>
        <source>Log controller &amp;requests</source>
        <translation>Controller-&amp;Anfragen protokollieren</translation>
    </message>
    <message>
        <source>Show every controller request with its reply and duration</source>
        <translation>Jede Controller-Anfrage mit Antwort und Dauer anzeigen</translation>
    </message>
    <message>
        <source>Request logging on</source>
        <translation>Anfrageprotokoll ein</translation>
    </message>
    <message>
        <source>Request logging off</source>
        <translation>Anfrageprotokoll aus</translation>
    </message>
    <message>
        <source>&amp;View</source>
        <translation>A&amp;nsicht</translation>
    </message>
    <message>
        <source>&amp;Clear log</source>
        <translation>Protokoll &amp;leeren</translation>
    </message>
    <message>
        <source>&amp;About</source>
        <translation>Ü&amp;ber</translation>
    </message>
    <message>
        <source>&amp;Help</source>
        <translation>&amp;Hilfe</translation>
    </message>
    <message>
        <source>Modules folder %1 does not exist</source>
        <translation>Modulordner %1 existiert nicht</translation>
    </message>
    <message>
        <source>Loading modules from %1</source>
        <translation>Lade Module aus %1</translation>
    </message>
    <message>
        <source>Cannot load %1: %2 (set QT_DEBUG_PLUGINS=1 for details)</source>
        <translation>%1 kann nicht geladen werden: %2 (Details mit QT_DEBUG_PLUGINS=1)</translation>
    </message>
    <message>
        <source>%1 (IID %2, class %3) does not implement the module interface %4</source>
        <translation>%1 (IID %2, Klasse %3) implementiert die Modulschnittstelle %4 nicht</translation>
    </message>
    <message>
        <source>Loaded module &quot;%1&quot; %2 from %3 (IID %4, class %5)</source>
        <translation>Modul „%1“ %2 aus %3 geladen (IID %4, Klasse %5)</translation>
    </message>
    <message>
        <source>message to %1 from %2, type %3: %4</source>
        <translation>Meldung an %1 von %2, Typ %3: %4</translation>
    </message>
    <message>
        <source>request &quot;%1&quot; -&gt; &quot;%2&quot; (result %3, %4 ms)</source>
        <translation>Anfrage „%1“ -&gt; „%2“ (Ergebnis %3, %4 ms)</translation>
    </message>
    <message>
        <source>No controller</source>
        <translation>Kein Controller</translation>
    </message>
    <message>
        <source>Controller %1: not connected</source>
        <translation>Controller %1: nicht verbunden</translation>
    </message>
    <message>
        <source>Controller %1 · model %2 · protocol %3</source>
        <translation>Controller %1 · Modell %2 · Protokoll %3</translation>
    </message>
    <message>
        <source>unknown</source>
        <translation>unbekannt</translation>
    </message>
    <message>
        <source> · observer mode</source>
        <translation> · Beobachtermodus</translation>
    </message>
    <message>
        <source>About Cascade Host</source>
        <translation>Über Kaskaden-Host</translation>
    </message>
    <message>
        <source>A minimal host for measurement-system modules.

Loaded modules:
%1</source>
        <translation>Ein minimaler Host für Module eines Messsystems.

Geladene Module:
%1</translation>
    </message>
    <message>
        <source>none</source>
        <translation>keine</translation>
    </message>
    <message>
        <source>Close the host and its modules</source>
        <translation>Den Host und seine Module schließen</translation>
    </message>
    <message>
        <source>Empty the message log window</source>
        <translation>Das Meldungsprotokoll leeren</translation>
    </message>
    <message>
        <source>Show the host&apos;s purpose and the loaded modules</source>
        <translation>Zweck des Hosts und die geladenen Module anzeigen</translation>
    </message>
    <message>
        <source>Cannot load %1: it is built against Qt %2, but this host runs on Qt %3; a module must be built against the same Qt major version as the host</source>
        <translation>%1 kann nicht geladen werden: Das Modul ist gegen Qt %2 gebaut, dieser Host läuft aber mit Qt %3; ein Modul muss gegen dieselbe Qt-Hauptversion gebaut sein wie der Host</translation>
    </message>
    <message>
        <source>Skipped %1: the same library as a module loaded already</source>
        <translation>%1 übersprungen: dieselbe Bibliothek wie ein bereits geladenes Modul</translation>
    </message>
    <message>
        <source>Connected to %1 (%2, protocol %3)</source>
        <translation>Verbunden mit %1 (%2, Protokoll %3)</translation>
    </message>
    <message>
        <source>Controller %1: not reachable (%2)</source>
        <translation>Controller %1: nicht erreichbar (%2)</translation>
    </message>
</context>
<context>
    <name>QCommandLineParser</name>
    <message>
        <source>Displays version information.</source>
        <translation>Zeigt die Versionsinformationen an.</translation>
    </message>
</context>
<context>
    <name>Walkthrough</name>
    <message>
        <source>Drive the Cascaded System dialog through a walkthrough, write screenshots and the message log to folder, then exit.</source>
        <translation>Den Dialog des kaskadierten Systems in einem Durchlauf bedienen, Bildschirmfotos und das Meldungsprotokoll in folder schreiben, dann beenden.</translation>
    </message>
    <message>
        <source>Address or hostname of a controller the walkthrough adds by hand; repeat it to add several (default 127.0.0.12).</source>
        <translation>Adresse oder Hostname eines Controllers, den der Durchlauf von Hand hinzufügt; mehrfach angeben, um mehrere hinzuzufügen (Vorgabe 127.0.0.12).</translation>
    </message>
    <message>
        <source>Controller address.</source>
        <translation>Controller-Adresse.</translation>
    </message>
    <message>
        <source>Folder for the screenshots, the message log and walkthrough.txt.</source>
        <translation>Ordner für die Bildschirmfotos, das Meldungsprotokoll und walkthrough.txt.</translation>
    </message>
    <message>
        <source>a controller address and an output folder are needed</source>
        <translation>eine Controller-Adresse und ein Ausgabeordner werden benötigt</translation>
    </message>
    <message>
        <source>Demo walkthrough failed: %1</source>
        <translation>Demo-Durchlauf fehlgeschlagen: %1</translation>
    </message>
    <message>
        <source>Demo walkthrough passed</source>
        <translation>Demo-Durchlauf erfolgreich</translation>
    </message>
</context>
<context>
    <name>main</name>
    <message>
        <source>Minimal host for measurement-system modules.
If a module does not load, run with QT_DEBUG_PLUGINS=1 to see why.</source>
        <translation>Minimaler Host für Module eines Messsystems.
Wenn ein Modul nicht lädt, zeigt ein Start mit QT_DEBUG_PLUGINS=1 den Grund.</translation>
    </message>
    <message>
        <source>Controller address (default 127.0.0.2).</source>
        <translation>Adresse des Controllers (Vorgabe 127.0.0.2).</translation>
    </message>
    <message>
        <source>Folder of the modules to load (default: %1).</source>
        <translation>Ordner der zu ladenden Module (Vorgabe: %1).</translation>
    </message>
    <message>
        <source>Run in observer mode.</source>
        <translation>Im Beobachtermodus starten.</translation>
    </message>
    <message>
        <source>Log every controller request.</source>
        <translation>Jede Controller-Anfrage protokollieren.</translation>
    </message>
    <message>
        <source>Language of the texts, e.g. de or en (default: the system&apos;s).</source>
        <translation>Sprache der Texte, z. B. de oder en (Vorgabe: die des Systems).</translation>
    </message>
    <message>
        <source>Cannot connect to the controller at %1:%2 (%3)</source>
        <translation>Keine Verbindung zum Controller %1:%2 (%3)</translation>
    </message>
    <message>
        <source>Also write the message log to file (appending).</source>
        <translation>Das Meldungsprotokoll auch in Datei schreiben (anhängend).</translation>
    </message>
    <message>
        <source>Also write the message log to standard error.</source>
        <translation>Das Meldungsprotokoll auch auf die Standardfehlerausgabe schreiben.</translation>
    </message>
    <message>
        <source>more than one controller address given</source>
        <translation>mehr als eine Controller-Adresse angegeben</translation>
    </message>
    <message>
        <source>invalid port %1</source>
        <translation>ungültiger Port %1</translation>
    </message>
    <message>
        <source>cannot write the log file %1: %2</source>
        <translation>Protokolldatei %1 kann nicht geschrieben werden: %2</translation>
    </message>
    <message>
        <source>Controller TCP port (default %1).</source>
        <translation>TCP-Port des Controllers (Vorgabe %1).</translation>
    </message>
    <message>
        <source>no display; set DISPLAY, or QT_QPA_PLATFORM=offscreen to run without a window</source>
        <translation>keine Anzeige; DISPLAY setzen, oder QT_QPA_PLATFORM=offscreen, um ohne Fenster zu laufen</translation>
    </message>
</context>
</TS>
