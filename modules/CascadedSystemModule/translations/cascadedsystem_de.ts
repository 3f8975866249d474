<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>CascadedSettingsDlg</name>
    <message>
        <source>&lt;b&gt;&lt;font color=red&gt;Cascaded System is not available!&lt;/font&gt;&lt;/b&gt;</source>
        <translation>&lt;b&gt;&lt;font color=red&gt;Kaskadiertes System ist nicht verfügbar!&lt;/font&gt;&lt;/b&gt;</translation>
    </message>
    <message>
        <source>IP address or hostname is not valid</source>
        <translation>IP-Adresse oder Hostname ist ungültig</translation>
    </message>
    <message>
        <source>IP address is already as a Cascaded System slave available</source>
        <translation>IP-Adresse ist bereits als Slave des kaskadierten Systems verfügbar</translation>
    </message>
    <message>
        <source>IP address is not available as a Cascaded System slave</source>
        <translation>IP-Adresse ist nicht als Slave des kaskadierten Systems verfügbar</translation>
    </message>
    <message>
        <source>%1 (not reachable)</source>
        <translation>%1 (nicht erreichbar)</translation>
    </message>
    <message>
        <source>%1 (not available)</source>
        <translation>%1 (nicht verfügbar)</translation>
    </message>
    <message>
        <source>Scan LAN</source>
        <translation>LAN durchsuchen</translation>
    </message>
    <message>
        <source>Lets the controller scan the LAN for controllers that can become slaves. A change is written to the controller at once and starts a new scan.</source>
        <translation>Lässt den Controller das LAN nach Controllern durchsuchen, die Slaves werden können. Eine Änderung wird sofort zum Controller geschrieben und startet eine neue Suche.</translation>
    </message>
    <message>
        <source>Selected slaves</source>
        <translation>Ausgewählte Slaves</translation>
    </message>
    <message>
        <source>Controllers selected as slaves of the Cascaded System. A connected slave that the controller cannot reach is marked as not reachable.</source>
        <translation>Als Slaves des kaskadierten Systems ausgewählte Controller. Ein verbundener Slave, den der Controller nicht erreicht, ist als nicht erreichbar markiert.</translation>
    </message>
    <message>
        <source>Select</source>
        <translation>Auswählen</translation>
    </message>
    <message>
        <source>Moves the current controller of the available controllers to the selected slaves.</source>
        <translation>Übernimmt den aktuellen der verfügbaren Controller in die ausgewählten Slaves.</translation>
    </message>
    <message>
        <source>Deselect</source>
        <translation>Abwählen</translation>
    </message>
    <message>
        <source>Removes the current controller from the selected slaves.</source>
        <translation>Entfernt den aktuellen Controller aus den ausgewählten Slaves.</translation>
    </message>
    <message>
        <source>Available controllers</source>
        <translation>Verfügbare Controller</translation>
    </message>
    <message>
        <source>Controllers found by the LAN scan or added by hand. A controller that cannot become a slave now is marked as not available.</source>
        <translation>Von der LAN-Suche gefundene oder von Hand hinzugefügte Controller. Ein Controller, der jetzt kein Slave werden kann, ist als nicht verfügbar markiert.</translation>
    </message>
    <message>
        <source>Update</source>
        <translation>Aktualisieren</translation>
    </message>
    <message>
        <source>Scans the LAN again and refreshes the available controllers.</source>
        <translation>Durchsucht das LAN erneut und aktualisiert die verfügbaren Controller.</translation>
    </message>
    <message>
        <source>Slave hostname or IP address</source>
        <translation>Hostname oder IP-Adresse des Slaves</translation>
    </message>
    <message>
        <source>Hostname or IPv4 address of a controller to add to the available controllers.</source>
        <translation>Hostname oder IPv4-Adresse eines Controllers, der zu den verfügbaren Controllern hinzugefügt werden soll.</translation>
    </message>
    <message>
        <source>Add</source>
        <translation>Hinzufügen</translation>
    </message>
    <message>
        <source>Checks the controller named in the field and adds it to the available controllers.</source>
        <translation>Prüft den im Feld genannten Controller und fügt ihn zu den verfügbaren Controllern hinzu.</translation>
    </message>
    <message>
        <source>Wake on LAN redirected to connected slaves</source>
        <translation>Wake-on-LAN an verbundene Slaves</translation>
    </message>
    <message>
        <source>Passes wake on LAN on to the connected slaves. Applied with OK.</source>
        <translation>Leitet Wake-on-LAN an die verbundenen Slaves weiter. Wird mit OK übernommen.</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Applies the changes to the controller and closes the dialog.</source>
        <translation>Überträgt die Änderungen zum Controller und schließt den Dialog.</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Discards the changes and closes the dialog.</source>
        <translation>Verwirft die Änderungen und schließt den Dialog.</translation>
    </message>
</context>
<context>
    <name>CascadedSettingsDlgClass</name>
    <message>
        <source>Cascaded System Settings</source>
        <translation>Einstellungen des kaskadierten Systems</translation>
    </message>
    <message>
        <source>Check to enable to scan the LAN for Cascaded System slaves</source>
        <translation>Aktivieren, um das LAN nach Slaves des kaskadierten Systems zu durchsuchen</translation>
    </message>
    <message>
        <source>s&amp;can LAN</source>
        <translation>LAN durch&amp;suchen</translation>
    </message>
    <message>
        <source>Selected Controller as slaves of the Cascaded System</source>
        <translation>Als Slaves des kaskadierten Systems ausgewählte Controller</translation>
    </message>
    <message>
        <source>selected</source>
        <translation>ausgewählt</translation>
    </message>
    <message>
        <source>&lt;!DOCTYPE HTML PUBLIC &quot;-//W3C//DTD HTML 4.0//EN&quot; &quot;http://www.w3.org/TR/REC-html40/strict.dtd&quot;&gt;
&lt;html&gt;&lt;head&gt;&lt;meta name=&quot;qrichtext&quot; content=&quot;1&quot; /&gt;&lt;style type=&quot;text/css&quot;&gt;
p, li { white-space: pre-wrap; }
&lt;/style&gt;&lt;/head&gt;&lt;body style=&quot; font-family:&apos;MS Shell Dlg 2&apos;; font-size:8.25pt; font-weight:400; font-style:normal;&quot;&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;Select Controller as slave of the Cascaded System&lt;/span&gt;&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</source>
        <translation>&lt;!DOCTYPE HTML PUBLIC &quot;-//W3C//DTD HTML 4.0//EN&quot; &quot;http://www.w3.org/TR/REC-html40/strict.dtd&quot;&gt;
&lt;html&gt;&lt;head&gt;&lt;meta name=&quot;qrichtext&quot; content=&quot;1&quot; /&gt;&lt;style type=&quot;text/css&quot;&gt;
p, li { white-space: pre-wrap; }
&lt;/style&gt;&lt;/head&gt;&lt;body style=&quot; font-family:&apos;MS Shell Dlg 2&apos;; font-size:8.25pt; font-weight:400; font-style:normal;&quot;&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;Controller als Slave des kaskadierten Systems auswählen&lt;/span&gt;&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</translation>
    </message>
    <message>
        <source>&lt;&lt; &amp;Select    </source>
        <translation>&lt;&lt; &amp;Auswählen    </translation>
    </message>
    <message>
        <source>&lt;!DOCTYPE HTML PUBLIC &quot;-//W3C//DTD HTML 4.0//EN&quot; &quot;http://www.w3.org/TR/REC-html40/strict.dtd&quot;&gt;
&lt;html&gt;&lt;head&gt;&lt;meta name=&quot;qrichtext&quot; content=&quot;1&quot; /&gt;&lt;style type=&quot;text/css&quot;&gt;
p, li { white-space: pre-wrap; }
&lt;/style&gt;&lt;/head&gt;&lt;body style=&quot; font-family:&apos;MS Shell Dlg 2&apos;; font-size:8.25pt; font-weight:400; font-style:normal;&quot;&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;Deselect Controller as slave of the Cascaded System&lt;/span&gt;&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</source>
        <translation>&lt;!DOCTYPE HTML PUBLIC &quot;-//W3C//DTD HTML 4.0//EN&quot; &quot;http://www.w3.org/TR/REC-html40/strict.dtd&quot;&gt;
&lt;html&gt;&lt;head&gt;&lt;meta name=&quot;qrichtext&quot; content=&quot;1&quot; /&gt;&lt;style type=&quot;text/css&quot;&gt;
p, li { white-space: pre-wrap; }
&lt;/style&gt;&lt;/head&gt;&lt;body style=&quot; font-family:&apos;MS Shell Dlg 2&apos;; font-size:8.25pt; font-weight:400; font-style:normal;&quot;&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;Controller als Slave des kaskadierten Systems abwählen&lt;/span&gt;&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</translation>
    </message>
    <message>
        <source>&gt;&gt; &amp;Deselect</source>
        <translation>&gt;&gt; Ab&amp;wählen</translation>
    </message>
    <message>
        <source>&lt;!DOCTYPE HTML PUBLIC &quot;-//W3C//DTD HTML 4.0//EN&quot; &quot;http://www.w3.org/TR/REC-html40/strict.dtd&quot;&gt;
&lt;html&gt;&lt;head&gt;&lt;meta name=&quot;qrichtext&quot; content=&quot;1&quot; /&gt;&lt;style type=&quot;text/css&quot;&gt;
p, li { white-space: pre-wrap; }
&lt;/style&gt;&lt;/head&gt;&lt;body style=&quot; font-family:&apos;MS Shell Dlg 2&apos;; font-size:8.25pt; font-weight:400; font-style:normal;&quot;&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;Controllers available for selecting as slaves of the Cascaded System&lt;/span&gt;&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</source>
        <translation>&lt;!DOCTYPE HTML PUBLIC &quot;-//W3C//DTD HTML 4.0//EN&quot; &quot;http://www.w3.org/TR/REC-html40/strict.dtd&quot;&gt;
&lt;html&gt;&lt;head&gt;&lt;meta name=&quot;qrichtext&quot; content=&quot;1&quot; /&gt;&lt;style type=&quot;text/css&quot;&gt;
p, li { white-space: pre-wrap; }
&lt;/style&gt;&lt;/head&gt;&lt;body style=&quot; font-family:&apos;MS Shell Dlg 2&apos;; font-size:8.25pt; font-weight:400; font-style:normal;&quot;&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;Controller, die als Slaves des kaskadierten Systems ausgewählt werden können&lt;/span&gt;&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</translation>
    </message>
    <message>
        <source>available</source>
        <translation>verfügbar</translation>
    </message>
    <message>
        <source>&lt;!DOCTYPE HTML PUBLIC &quot;-//W3C//DTD HTML 4.0//EN&quot; &quot;http://www.w3.org/TR/REC-html40/strict.dtd&quot;&gt;
&lt;html&gt;&lt;head&gt;&lt;meta name=&quot;qrichtext&quot; content=&quot;1&quot; /&gt;&lt;style type=&quot;text/css&quot;&gt;
p, li { white-space: pre-wrap; }
&lt;/style&gt;&lt;/head&gt;&lt;body style=&quot; font-family:&apos;Tahoma&apos;; font-size:8.25pt; font-weight:400; font-style:normal;&quot;&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;Controllers available for selecting as slaves of the Cascaded System&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</source>
        <translation>&lt;!DOCTYPE HTML PUBLIC &quot;-//W3C//DTD HTML 4.0//EN&quot; &quot;http://www.w3.org/TR/REC-html40/strict.dtd&quot;&gt;
&lt;html&gt;&lt;head&gt;&lt;meta name=&quot;qrichtext&quot; content=&quot;1&quot; /&gt;&lt;style type=&quot;text/css&quot;&gt;
p, li { white-space: pre-wrap; }
&lt;/style&gt;&lt;/head&gt;&lt;body style=&quot; font-family:&apos;Tahoma&apos;; font-size:8.25pt; font-weight:400; font-style:normal;&quot;&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;Controller, die als Slaves des kaskadierten Systems ausgewählt werden können&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</translation>
    </message>
    <message>
        <source>Enter hostname or IP address from a Controller in order to become a slave of the Cascaded System</source>
        <translation>Hostname oder IP-Adresse eines Controllers eingeben, der Slave des kaskadierten Systems werden soll</translation>
    </message>
    <message>
        <source>&amp;Add</source>
        <translation>Hin&amp;zufügen</translation>
    </message>
    <message>
        <source>Update list of available Controller as slaves</source>
        <translation>Liste der als Slaves verfügbaren Controller aktualisieren</translation>
    </message>
    <message>
        <source>&amp;Update</source>
        <translation>Akt&amp;ualisieren</translation>
    </message>
    <message>
        <source>&lt;!DOCTYPE HTML PUBLIC &quot;-//W3C//DTD HTML 4.0//EN&quot; &quot;http://www.w3.org/TR/REC-html40/strict.dtd&quot;&gt;
&lt;html&gt;&lt;head&gt;&lt;meta name=&quot;qrichtext&quot; content=&quot;1&quot; /&gt;&lt;style type=&quot;text/css&quot;&gt;
p, li { white-space: pre-wrap; }
&lt;/style&gt;&lt;/head&gt;&lt;body style=&quot; font-family:&apos;MS Shell Dlg 2&apos;; font-size:8.25pt; font-weight:400; font-style:normal;&quot;&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px; font-size:8pt;&quot;&gt;Enter hostname or IP address from a Controller in order to become a slave of the Cascaded System&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</source>
        <translation>&lt;!DOCTYPE HTML PUBLIC &quot;-//W3C//DTD HTML 4.0//EN&quot; &quot;http://www.w3.org/TR/REC-html40/strict.dtd&quot;&gt;
&lt;html&gt;&lt;head&gt;&lt;meta name=&quot;qrichtext&quot; content=&quot;1&quot; /&gt;&lt;style type=&quot;text/css&quot;&gt;
p, li { white-space: pre-wrap; }
&lt;/style&gt;&lt;/head&gt;&lt;body style=&quot; font-family:&apos;MS Shell Dlg 2&apos;; font-size:8.25pt; font-weight:400; font-style:normal;&quot;&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px; font-size:8pt;&quot;&gt;Hostname oder IP-Adresse eines Controllers eingeben, der Slave des kaskadierten Systems werden soll&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</translation>
    </message>
    <message>
        <source>slave &amp;hostname or IP address</source>
        <translation>&amp;Hostname oder IP-Adresse des Slaves</translation>
    </message>
    <message>
        <source>Check this to enable wake on LAN of the slaves of the Cascaded System.</source>
        <translation>Aktivieren, um Wake-on-LAN für die Slaves des kaskadierten Systems einzuschalten.</translation>
    </message>
    <message>
        <source>&amp;wake on LAN redirected to connected slaves (not available for HARROWGLINT)</source>
        <translation>Wa&amp;ke-on-LAN an verbundene Slaves (nicht bei HARROWGLINT)</translation>
    </message>
    <message>
        <source>&lt;!DOCTYPE HTML PUBLIC &quot;-//W3C//DTD HTML 4.0//EN&quot; &quot;http://www.w3.org/TR/REC-html40/strict.dtd&quot;&gt;
&lt;html&gt;&lt;head&gt;&lt;meta name=&quot;qrichtext&quot; content=&quot;1&quot; /&gt;&lt;style type=&quot;text/css&quot;&gt;
p, li { white-space: pre-wrap; }
&lt;/style&gt;&lt;/head&gt;&lt;body style=&quot; font-family:&apos;MS Shell Dlg 2&apos;; font-size:8.25pt; font-weight:400; font-style:normal;&quot;&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;Accept changes&lt;/span&gt;&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</source>
        <translation>&lt;!DOCTYPE HTML PUBLIC &quot;-//W3C//DTD HTML 4.0//EN&quot; &quot;http://www.w3.org/TR/REC-html40/strict.dtd&quot;&gt;
&lt;html&gt;&lt;head&gt;&lt;meta name=&quot;qrichtext&quot; content=&quot;1&quot; /&gt;&lt;style type=&quot;text/css&quot;&gt;
p, li { white-space: pre-wrap; }
&lt;/style&gt;&lt;/head&gt;&lt;body style=&quot; font-family:&apos;MS Shell Dlg 2&apos;; font-size:8.25pt; font-weight:400; font-style:normal;&quot;&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;Änderungen übernehmen&lt;/span&gt;&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Discard changes and close the dialog</source>
        <translation>Änderungen verwerfen und den Dialog schließen</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
</context>
<context>
    <name>CascadedSystemModule</name>
    <message>
        <source>GUI Cascaded System</source>
        <translation>GUI Kaskadiertes System</translation>
    </message>
    <message>
        <source>H&amp;ardware</source>
        <translation>H&amp;ardware</translation>
    </message>
    <message>
        <source>&amp;Cascaded System</source>
        <translation>&amp;Kaskadiertes System</translation>
    </message>
    <message>
        <source>Open the Cascaded System settings dialog</source>
        <translation>Den Einstellungsdialog des kaskadierten Systems öffnen</translation>
    </message>
    <message>
        <source>Cascaded System settings</source>
        <translation>Einstellungen des kaskadierten Systems</translation>
    </message>
</context>
<context>
    <name>EndlessProgressDlgClass</name>
    <message>
        <source>Cascaded System Settings</source>
        <translation>Einstellungen des kaskadierten Systems</translation>
    </message>
    <message>
        <source>scanning for Cascaded System slaves...</source>
        <translation>Suche nach Slaves des kaskadierten Systems...</translation>
    </message>
    <message>
        <source>Scan progress</source>
        <translation>Fortschritt der Suche</translation>
    </message>
</context>
</TS>
