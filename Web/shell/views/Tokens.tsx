export default function Tokens() {
  return null;
}
