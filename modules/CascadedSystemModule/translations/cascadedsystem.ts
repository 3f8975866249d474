<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1">
<context>
    <name>CascadedSettingsDlg</name>
    <message>
        <source>&lt;b&gt;&lt;font color=red&gt;Cascaded System is not available!&lt;/font&gt;&lt;/b&gt;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>IP address or hostname is not valid</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>IP address is already as a Cascaded System slave available</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>IP address is not available as a Cascaded System slave</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 (not reachable)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 (not available)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Scan LAN</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Lets the controller scan the LAN for controllers that can become slaves. A change is written to the controller at once and starts a new scan.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Selected slaves</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Controllers selected as slaves of the Cascaded System. A connected slave that the controller cannot reach is marked as not reachable.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Moves the current controller of the available controllers to the selected slaves.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Deselect</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Removes the current controller from the selected slaves.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Available controllers</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Controllers found by the LAN scan or added by hand. A controller that cannot become a slave now is marked as not available.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Update</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Scans the LAN again and refreshes the available controllers.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Slave hostname or IP address</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Hostname or IPv4 address of a controller to add to the available controllers.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Checks the controller named in the field and adds it to the available controllers.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wake on LAN redirected to connected slaves</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Passes wake on LAN on to the connected slaves. Applied with OK.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>OK</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Applies the changes to the controller and closes the dialog.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Discards the changes and closes the dialog.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>CascadedSettingsDlgClass</name>
    <message>
        <source>Cascaded System Settings</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Check to enable to scan the LAN for Cascaded System slaves</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>s&amp;can LAN</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Selected Controller as slaves of the Cascaded System</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>selected</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&lt;!DOCTYPE HTML PUBLIC &quot;-//W3C//DTD HTML 4.0//EN&quot; &quot;http://www.w3.org/TR/REC-html40/strict.dtd&quot;&gt;
&lt;html&gt;&lt;head&gt;&lt;meta name=&quot;qrichtext&quot; content=&quot;1&quot; /&gt;&lt;style type=&quot;text/css&quot;&gt;
p, li { white-space: pre-wrap; }
&lt;/style&gt;&lt;/head&gt;&lt;body style=&quot; font-family:&apos;MS Shell Dlg 2&apos;; font-size:8.25pt; font-weight:400; font-style:normal;&quot;&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;Select Controller as slave of the Cascaded System&lt;/span&gt;&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&lt;&lt; &amp;Select    </source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&lt;!DOCTYPE HTML PUBLIC &quot;-//W3C//DTD HTML 4.0//EN&quot; &quot;http://www.w3.org/TR/REC-html40/strict.dtd&quot;&gt;
&lt;html&gt;&lt;head&gt;&lt;meta name=&quot;qrichtext&quot; content=&quot;1&quot; /&gt;&lt;style type=&quot;text/css&quot;&gt;
p, li { white-space: pre-wrap; }
&lt;/style&gt;&lt;/head&gt;&lt;body style=&quot; font-family:&apos;MS Shell Dlg 2&apos;; font-size:8.25pt; font-weight:400; font-style:normal;&quot;&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;Deselect Controller as slave of the Cascaded System&lt;/span&gt;&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&gt;&gt; &amp;Deselect</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&lt;!DOCTYPE HTML PUBLIC &quot;-//W3C//DTD HTML 4.0//EN&quot; &quot;http://www.w3.org/TR/REC-html40/strict.dtd&quot;&gt;
&lt;html&gt;&lt;head&gt;&lt;meta name=&quot;qrichtext&quot; content=&quot;1&quot; /&gt;&lt;style type=&quot;text/css&quot;&gt;
p, li { white-space: pre-wrap; }
&lt;/style&gt;&lt;/head&gt;&lt;body style=&quot; font-family:&apos;MS Shell Dlg 2&apos;; font-size:8.25pt; font-weight:400; font-style:normal;&quot;&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;Controllers available for selecting as slaves of the Cascaded System&lt;/span&gt;&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>available</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&lt;!DOCTYPE HTML PUBLIC &quot;-//W3C//DTD HTML 4.0//EN&quot; &quot;http://www.w3.org/TR/REC-html40/strict.dtd&quot;&gt;
&lt;html&gt;&lt;head&gt;&lt;meta name=&quot;qrichtext&quot; content=&quot;1&quot; /&gt;&lt;style type=&quot;text/css&quot;&gt;
p, li { white-space: pre-wrap; }
&lt;/style&gt;&lt;/head&gt;&lt;body style=&quot; font-family:&apos;Tahoma&apos;; font-size:8.25pt; font-weight:400; font-style:normal;&quot;&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;Controllers available for selecting as slaves of the Cascaded System&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enter hostname or IP address from a Controller in order to become a slave of the Cascaded System</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Add</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Update list of available Controller as slaves</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Update</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&lt;!DOCTYPE HTML PUBLIC &quot;-//W3C//DTD HTML 4.0//EN&quot; &quot;http://www.w3.org/TR/REC-html40/strict.dtd&quot;&gt;
&lt;html&gt;&lt;head&gt;&lt;meta name=&quot;qrichtext&quot; content=&quot;1&quot; /&gt;&lt;style type=&quot;text/css&quot;&gt;
p, li { white-space: pre-wrap; }
&lt;/style&gt;&lt;/head&gt;&lt;body style=&quot; font-family:&apos;MS Shell Dlg 2&apos;; font-size:8.25pt; font-weight:400; font-style:normal;&quot;&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px; font-size:8pt;&quot;&gt;Enter hostname or IP address from a Controller in order to become a slave of the Cascaded System&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>slave &amp;hostname or IP address</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Check this to enable wake on LAN of the slaves of the Cascaded System.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;wake on LAN redirected to connected slaves (not available for HARROWGLINT)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&lt;!DOCTYPE HTML PUBLIC &quot;-//W3C//DTD HTML 4.0//EN&quot; &quot;http://www.w3.org/TR/REC-html40/strict.dtd&quot;&gt;
&lt;html&gt;&lt;head&gt;&lt;meta name=&quot;qrichtext&quot; content=&quot;1&quot; /&gt;&lt;style type=&quot;text/css&quot;&gt;
p, li { white-space: pre-wrap; }
&lt;/style&gt;&lt;/head&gt;&lt;body style=&quot; font-family:&apos;MS Shell Dlg 2&apos;; font-size:8.25pt; font-weight:400; font-style:normal;&quot;&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;Accept changes&lt;/span&gt;&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>OK</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Discard changes and close the dialog</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>CascadedSystemModule</name>
    <message>
        <source>GUI Cascaded System</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>H&amp;ardware</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Cascaded System</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open the Cascaded System settings dialog</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cascaded System settings</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>EndlessProgressDlgClass</name>
    <message>
        <source>Cascaded System Settings</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>scanning for Cascaded System slaves...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Scan progress</source>
        <translation type="unfinished"></translation>
    </message>
</context>
</TS>
