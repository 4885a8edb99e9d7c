// Reads variable packets of the settings module (docs/variable-packet.md), as the module itself reads them.
//
//     ZQPacket packet = ZQPacket.Read(bytes);
//     foreach (ZQVariable variable in packet.Variables) { ... }
//
// C# 6 or later, any .NET, nothing else.
using System;
using System.Collections.Generic;
using System.Text;

public enum ZQVariableType
{
    Bool = 1,
    Integer = 2,
    Double = 3,
    String = 4,
    Binary = 5
}

// One variable. Names are unique within a type only: "A" may be a bool and an integer.
public sealed class ZQVariable
{
    public ZQVariable(string name, ZQVariableType type, object value)
    {
        Name = name;
        Type = type;
        Value = value;
    }

    public string Name { get; }
    public ZQVariableType Type { get; }

    // A bool, long, double, string or byte[].
    public object Value { get; }
}

public sealed class ZQPacket
{
    private const int HeaderSize = 8; // magic, version, encoding of names and texts
    private const int RecordSize = 12; // type, length of the name, length of the value
    private const uint Utf16 = 0;
    private const uint Utf8 = 65001;

    private ZQPacket(IReadOnlyList<ZQVariable> variables, int offset)
    {
        Variables = variables;
        Offset = offset;
    }

    public IReadOnlyList<ZQVariable> Variables { get; }

    // Where reading stopped. An offset before the end means damage there: what follows is lost.
    public int Offset { get; }

    // A record of an unknown type, or with too few bytes for its type, is skipped. Throws FormatException for bytes
    // without a packet's header.
    public static ZQPacket Read(byte[] packet)
    {
        if (packet == null)
        {
            throw new ArgumentNullException(nameof(packet));
        }
        if (packet.Length < HeaderSize || packet[0] != 0xBF || packet[1] != 0xFE || packet[2] != 0xEB)
        {
            throw new FormatException("the bytes do not begin with BF FE EB and 5 more bytes of header");
        }
        uint encoding = UInt32At(packet, 4);
        var variables = new List<ZQVariable>();
        int offset = HeaderSize;
        while (packet.Length - offset >= RecordSize)
        {
            int nameLength = unchecked((int)UInt32At(packet, offset + 4));
            int valueLength = unchecked((int)UInt32At(packet, offset + 8));
            int start = offset + RecordSize;
            long end = (long)start + nameLength + valueLength;
            if (nameLength <= 0 || valueLength < 0 || end > packet.Length)
            {
                break;
            }
            string name = TextAt(packet, start, nameLength, encoding);
            if (name.Length == 0)
            {
                break;
            }
            uint type = UInt32At(packet, offset);
            object value = ValueAt(packet, type, start + nameLength, valueLength, encoding);
            if (value != null)
            {
                variables.Add(new ZQVariable(name, (ZQVariableType)type, value));
            }
            offset = (int)end;
        }
        return new ZQPacket(variables, offset);
    }

    // Of a value that is longer than its type needs, the first bytes count. Null for a record to skip.
    private static object ValueAt(byte[] packet, uint type, int start, int length, uint encoding)
    {
        switch (type)
        {
            case (uint)ZQVariableType.Bool:
                return length < 1 ? null : (object)(packet[start] != 0);
            case (uint)ZQVariableType.Integer:
                return length < 8 ? null : (object)Int64At(packet, start);
            case (uint)ZQVariableType.Double:
                return length < 8 ? null : (object)BitConverter.Int64BitsToDouble(Int64At(packet, start));
            case (uint)ZQVariableType.String:
                return TextAt(packet, start, length, encoding);
            case (uint)ZQVariableType.Binary:
                var bytes = new byte[length];
                Array.Copy(packet, start, bytes, 0, length);
                return bytes;
            default:
                return null;
        }
    }

    // A name or a text: without an odd last byte, and up to its first zero character.
    private static string TextAt(byte[] packet, int start, int length, uint encoding)
    {
        string text = "";
        if (encoding == Utf16)
        {
            // Not by Encoding.Unicode, which would replace unpaired surrogates.
            var characters = new char[length / 2];
            for (int i = 0; i < characters.Length; i++)
            {
                characters[i] = (char)(packet[start + 2 * i] | packet[start + 2 * i + 1] << 8);
            }
            text = new string(characters);
        }
        else if (encoding == Utf8)
        {
            text = Encoding.UTF8.GetString(packet, start, length);
        }
        int zero = text.IndexOf('\0');
        return zero < 0 ? text : text.Substring(0, zero);
    }

    private static uint UInt32At(byte[] packet, int offset)
    {
        return (uint)packet[offset] | (uint)packet[offset + 1] << 8 | (uint)packet[offset + 2] << 16 |
               (uint)packet[offset + 3] << 24;
    }

    private static long Int64At(byte[] packet, int offset)
    {
        return unchecked((long)((ulong)UInt32At(packet, offset + 4) << 32 | UInt32At(packet, offset)));
    }
}
