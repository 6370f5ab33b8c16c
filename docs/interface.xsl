<?xml version="1.0" encoding="UTF-8"?>
<!-- SPDX-License-Identifier: MIT -->
<!-- Makes a page of the manual from the description of an interface. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform"
    xmlns:doc="http://www.freedesktop.org/dbus/1.0/doc.dtd">
  <xsl:output method="text" encoding="UTF-8"/>

  <xsl:param name="page"/>
  <xsl:param name="title"/>
  <xsl:param name="bus"/> <!-- the bus name -->
  <xsl:param name="server"/> <!-- the class that a daemon implements; empty for the simulator -->

  <xsl:template match="/node">
    <xsl:text># </xsl:text>
    <xsl:value-of select="concat($title, ' {#dbus_', $page, '}&#10;&#10;')"/>
    <xsl:apply-templates select="interface"/>
  </xsl:template>

  <xsl:template match="interface">
    <xsl:value-of select="doc:doc/doc:summary"/>
    <xsl:value-of select="concat('&#10;&#10;Bus name ', $bus, ', object `', /node/@name)"/>
    <xsl:value-of select="concat('`, interface `', @name, '`.&#10;')"/>
    <xsl:if test="$server">
      <xsl:value-of select="concat('A daemon implements ', $server, '.&#10;')"/>
    </xsl:if>

    <xsl:text>&#10;## Methods&#10;&#10;</xsl:text>
    <xsl:call-template name="methods">
      <xsl:with-param name="methods" select="method[not(starts-with(@name, 'pulse'))]"/>
      <xsl:with-param name="class"><xsl:if test="$server">HNIPC</xsl:if></xsl:with-param>
    </xsl:call-template>

    <xsl:if test="signal">
      <xsl:text>&#10;## Signals&#10;&#10;&lt;table class="doxtable"&gt;&#10;</xsl:text>
      <xsl:text>&lt;tr&gt;&lt;th&gt;Signal&lt;/th&gt;&lt;th&gt;Arguments&lt;/th&gt;</xsl:text>
      <xsl:text>&lt;th&gt;Meaning&lt;/th&gt;&lt;th&gt;In the client&lt;/th&gt;</xsl:text>
      <xsl:text>&lt;/tr&gt;&#10;</xsl:text>
      <xsl:apply-templates select="signal"/>
      <xsl:text>&lt;/table&gt;&#10;</xsl:text>
    </xsl:if>

    <xsl:if test="method[starts-with(@name, 'pulse')]">
      <xsl:text>&#10;## Pulse operations&#10;&#10;</xsl:text>
      <xsl:text>A daemon calls them itself. They return whether the signal could be sent.&#10;</xsl:text>
      <xsl:text>Over the bus, a printer's policy allows only the user of this daemon to call&#10;</xsl:text>
      <xsl:text>them: see @ref printer.&#10;&#10;</xsl:text>
      <xsl:call-template name="methods">
        <xsl:with-param name="methods" select="method[starts-with(@name, 'pulse')]"/>
        <xsl:with-param name="class" select="$server"/>
      </xsl:call-template>
    </xsl:if>
  </xsl:template>

  <xsl:template name="methods">
    <xsl:param name="methods"/>
    <xsl:param name="class"/>
    <xsl:text>&lt;table class="doxtable"&gt;&#10;</xsl:text>
    <xsl:text>&lt;tr&gt;&lt;th&gt;Method&lt;/th&gt;&lt;th&gt;Arguments&lt;/th&gt;</xsl:text>
    <xsl:text>&lt;th&gt;Reply&lt;/th&gt;&lt;th&gt;What it does&lt;/th&gt;&lt;/tr&gt;&#10;</xsl:text>
    <xsl:for-each select="$methods">
      <xsl:text>&lt;tr&gt;&lt;td&gt;</xsl:text>
      <xsl:call-template name="member">
        <xsl:with-param name="class" select="$class"/>
        <xsl:with-param name="name" select="@name"/>
      </xsl:call-template>
      <xsl:text>&lt;/td&gt;&lt;td&gt;</xsl:text>
      <xsl:call-template name="arguments">
        <xsl:with-param name="arguments" select="arg[@direction = 'in']"/>
      </xsl:call-template>
      <xsl:text>&lt;/td&gt;&lt;td&gt;</xsl:text>
      <xsl:variable name="answer" select="arg[@direction = 'out']/@type"/>
      <xsl:choose>
        <xsl:when test="starts-with($answer, '(')">@ref dbus_record "record"</xsl:when>
        <xsl:when test="$answer">
          <xsl:value-of select="concat('&lt;code&gt;', $answer, '&lt;/code&gt;')"/>
        </xsl:when>
      </xsl:choose>
      <xsl:text>&lt;/td&gt;&lt;td&gt;</xsl:text>
      <xsl:value-of select="doc:doc/doc:summary"/>
      <xsl:text>&lt;/td&gt;&lt;/tr&gt;&#10;</xsl:text>
    </xsl:for-each>
    <xsl:text>&lt;/table&gt;&#10;</xsl:text>
  </xsl:template>

  <xsl:template match="signal">
    <xsl:value-of select="concat('&lt;tr&gt;&lt;td&gt;', @name, '&lt;/td&gt;&lt;td&gt;')"/>
    <xsl:call-template name="arguments">
      <xsl:with-param name="arguments" select="arg"/>
    </xsl:call-template>
    <xsl:text>&lt;/td&gt;&lt;td&gt;</xsl:text>
    <xsl:value-of select="doc:doc/doc:summary"/>
    <xsl:text>&lt;/td&gt;&lt;td&gt;</xsl:text>
    <xsl:call-template name="member">
      <xsl:with-param name="class" select="'HNIPC'"/>
      <xsl:with-param name="name" select="substring-after(@name, '_')"/>
    </xsl:call-template>
    <xsl:text>&lt;/td&gt;&lt;/tr&gt;&#10;</xsl:text>
  </xsl:template>

  <!-- A link to a member of a class. The manual does not build if the member is missing. -->
  <xsl:template name="member">
    <xsl:param name="class"/>
    <xsl:param name="name"/>
    <xsl:choose>
      <xsl:when test="string($class)">
        <xsl:value-of select="concat('@ref ', $class, '::', $name, ' &quot;', $name, '&quot;')"/>
      </xsl:when>
      <xsl:otherwise><xsl:value-of select="$name"/></xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <!-- The D-Bus types, as for busctl, then the names. -->
  <xsl:template name="arguments">
    <xsl:param name="arguments"/>
    <xsl:if test="$arguments">
      <xsl:text>&lt;code&gt;</xsl:text>
      <xsl:for-each select="$arguments"><xsl:value-of select="@type"/></xsl:for-each>
      <xsl:text>&lt;/code&gt; </xsl:text>
      <xsl:for-each select="$arguments">
        <xsl:if test="position() &gt; 1">, </xsl:if>
        <xsl:value-of select="@name"/>
      </xsl:for-each>
    </xsl:if>
  </xsl:template>
</xsl:stylesheet>
