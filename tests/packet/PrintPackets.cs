// Prints what examples/packet/ZQPacket.cs reads: PrintPackets FILE...
// The form is that of packet_readers_test.py: for each file its offset, a line for each variable, and an empty line.
using System;
using System.IO;
using System.Text;

public static class PrintPackets
{
    public static void Main(string[] files)
    {
        var output = new StringBuilder();
        foreach (string file in files)
        {
            try
            {
                ZQPacket packet = ZQPacket.Read(File.ReadAllBytes(file));
                output.Append(packet.Offset).Append('\n');
                foreach (ZQVariable variable in packet.Variables)
                {
                    output.Append((int)variable.Type).Append(' ').Append(HexOf(variable.Name)).Append(' ');
                    output.Append(Exact(variable.Value)).Append('\n');
                }
            }
            catch (FormatException)
            {
                output.Append("no packet\n");
            }
            output.Append('\n');
        }
        Console.Out.Write(output);
    }

    private static string Exact(object value)
    {
        if (value is bool)
        {
            return (bool)value ? "1" : "0";
        }
        if (value is double)
        {
            return BitConverter.DoubleToInt64Bits((double)value).ToString("x16");
        }
        var bytes = value as byte[];
        if (bytes != null)
        {
            return BitConverter.ToString(bytes).Replace("-", "").ToLowerInvariant();
        }
        return value is string ? HexOf((string)value) : value.ToString();
    }

    private static string HexOf(string text)
    {
        var hex = new StringBuilder();
        foreach (char c in text)
        {
            hex.Append(((int)c & 0xFF).ToString("x2")).Append(((int)c >> 8).ToString("x2"));
        }
        return hex.ToString();
    }
}
